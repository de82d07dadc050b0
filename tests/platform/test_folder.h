#pragma once
// A folder of its own for each test, removed afterwards, and short ways to put files into it and to look at them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "base/text.h"

namespace tervo::test {

class TestFolder {
 public:
  TestFolder()
      : path_(std::filesystem::temp_directory_path() / ("tervo-test-" + std::to_string(std::random_device()()))) {
    std::filesystem::create_directories(path_);
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::filesystem::path operator/(TextView name) const { return path_ / std::filesystem::path(name); }
  Text text(TextView name) const { return (*this / name).u16string(); }

  void put(TextView name, std::string_view content) const {
    std::ofstream(*this / name, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
  }
  std::string get(TextView name) const {
    std::ifstream file(*this / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  /// How many files and folders are in it, hidden ones too.
  std::ptrdiff_t count() const { return std::distance(std::filesystem::directory_iterator(path_), {}); }

 private:
  std::filesystem::path path_;
};

}  // namespace tervo::test
