// A headless platform, the files room and a directory for tests.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "files/files_state.h"
#include "platform/platform.h"

namespace quillmere {

/// A directory that goes with the test.
class TestDirectory {
 public:
  TestDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qmtestXXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TestDirectory() { std::filesystem::remove_all(path_); }
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  [[nodiscard]] std::string Path(const std::string& name) const { return (path_ / name).string(); }
  std::string Put(const std::string& name, std::string_view bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return Path(name);
  }
  [[nodiscard]] std::string Get(const std::string& name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  [[nodiscard]] std::size_t Count() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_;
};

/// Puts temporary files of the program where a test can count them.
class OwnTempDirectory {
 public:
  OwnTempDirectory() {
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    setenv("TMPDIR", directory_.Path("").c_str(), 1);
  }
  ~OwnTempDirectory() {
    if (old_) {
      setenv("TMPDIR", old_->c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }
  OwnTempDirectory(const OwnTempDirectory&) = delete;
  OwnTempDirectory& operator=(const OwnTempDirectory&) = delete;

  [[nodiscard]] std::size_t Count() const { return directory_.Count(); }

 private:
  std::optional<std::string> old_;
  TestDirectory directory_;
};

/// Puts the current directory of the test program back at the end.
class KeepCurrentDirectory {
 public:
  ~KeepCurrentDirectory() { std::filesystem::current_path(path_); }

 private:
  std::filesystem::path path_ = std::filesystem::current_path();
};

class FilesTest : public testing::Test {
 protected:
  void SetUp() override {
    auto opened = PlatformOpen(host);
    ASSERT_TRUE(opened.has_value());
    platform = std::move(*opened);
    files.emplace(host);
    host.flags.quiet = true;
  }

  static std::string Text(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
  }
  /// All that is left of a file.
  static std::string Rest(qmFile& file) {
    std::string text;
    for (int byte = file.ReadByte(); byte >= 0; byte = file.ReadByte()) {
      text.push_back(static_cast<char>(byte));
    }
    return text;
  }

  KeepCurrentDirectory keepsDirectory;
  TestDirectory directory;
  OwnTempDirectory temp;
  Host host;
  std::unique_ptr<Platform> platform;
  std::optional<FilesState> files;
};

}  // namespace quillmere
