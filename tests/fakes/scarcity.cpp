#include "tests/fakes/scarcity.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <new>

Scarcity scarcity;

void* Allocate(std::size_t size) {
  const bool fails = !Spared::now && --scarcity.toComeFirst < 0 && --scarcity.toFail >= 0;
  return fails ? nullptr : std::malloc(size);
}

void* operator new(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++scarcity.inUse;
  return memory;
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) --scarcity.inUse;
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

// A sanitizer whose runtime is part of the program has its own, which learns of each thread, here.
using ThreadMaker = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" __attribute__((weak)) ThreadMaker __interceptor_pthread_create;

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attr,
                              void* (*routine)(void*), void* arg) {
  ++scarcity.threadsAskedFor;
  if (--scarcity.threadsToRefuse >= 0) return EAGAIN;
  static ThreadMaker* const next =
      reinterpret_cast<ThreadMaker*>(dlsym(RTLD_NEXT, "pthread_create"));
  static ThreadMaker* const real =
      __interceptor_pthread_create != nullptr ? __interceptor_pthread_create : next;
  return real(thread, attr, routine, arg);
}
