#pragma once
// A folder of the process, in memory where the machine has such a place, removed at its end.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace fuzz {

inline const std::filesystem::path& scratch() {
  static const struct Folder {
    std::filesystem::path path =
        (std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                   : std::filesystem::temp_directory_path()) /
        ("tarnix_fuzz_" + std::to_string(getpid()));
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  } folder;
  return folder.path;
}

inline std::filesystem::path write(const char* name, const std::string& content) {
  const auto path = scratch() / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

}  // namespace fuzz
