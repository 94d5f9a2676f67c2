// The owner of a file descriptor, and what reads and writes through it.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

class Descriptor {
 public:
  // Takes over `value`; negative for none, as the calls that make descriptors answer.
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    // Who needs to know whether what was written arrived checks the file.
    if (value_ >= 0) (void)close(value_);
  }

  [[nodiscard]] bool IsOpen() const { return value_ >= 0; }
  [[nodiscard]] int Get() const { return value_; }

 private:
  int value_;
};

// Does `call`, a read or a write, again for as long as a signal handler interrupts it.
template <typename Call>
[[nodiscard]] ssize_t Uninterrupted(const Call& call) {
  ssize_t result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}
