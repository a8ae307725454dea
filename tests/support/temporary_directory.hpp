// A fresh directory that is the current one while this lives, and is removed afterwards.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace quorrin::test {

class TemporaryDirectory {
  public:
    TemporaryDirectory() : previous_(std::filesystem::current_path()) {
        std::string name = (std::filesystem::temp_directory_path() / "quorrin-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "mkdtemp " + name);
        }
        path_ = name;
        std::filesystem::current_path(path_);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::current_path(previous_, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

    void write(const std::string& name, std::string_view content) const {
        std::ofstream file(path_ / name, std::ios::binary);
        file.exceptions(std::ios::failbit | std::ios::badbit);
        file << content;
        file.close();
    }

  private:
    std::filesystem::path previous_;
    std::filesystem::path path_;
};

}  // namespace quorrin::test
