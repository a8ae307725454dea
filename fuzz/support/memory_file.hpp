// A file for readers that take a path; it lives in memory.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "fuzz/support/expectation.hpp"

namespace quorrin::fuzz {

class MemoryFile {
  public:
    MemoryFile() : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        expect(descriptor_ >= 0, "a file in memory can be made");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

    void hold(std::span<const std::uint8_t> content) const {
        expect(ftruncate(descriptor_, 0) == 0 && pwrite(descriptor_, content.data(), content.size(),
                                                        0) == static_cast<ssize_t>(content.size()),
               "a file in memory can be written");
    }

  private:
    int descriptor_;
};

}  // namespace quorrin::fuzz
