// The owner of a file descriptor.
#pragma once

#include <unistd.h>

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
