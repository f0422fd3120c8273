// An owned file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace quorvel::platform {

class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    explicit operator bool() const noexcept { return fd_ >= 0; }
    int get() const noexcept { return fd_; }
    void reset() noexcept
    {
        if (fd_ >= 0)
            close(fd_);
        fd_ = -1;
    }

private:
    int fd_ = -1;
};

}  // namespace quorvel::platform
