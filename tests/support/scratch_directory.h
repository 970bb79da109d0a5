// A directory of a test's own, and files in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

class ScratchDirectory {
  public:
    explicit ScratchDirectory(const std::filesystem::path& parent = "/tmp") {
        std::string name = parent / "vel_test_XXXXXX";
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch directory");
        path_ = name;
    }
    ~ScratchDirectory() { std::filesystem::remove_all(path_); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // Writes a file, with the directories that it needs, and returns its path.
    std::string write(const std::filesystem::path& name, const std::string& content) const {
        const auto file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

  private:
    std::filesystem::path path_;
};
