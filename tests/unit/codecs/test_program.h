// What a test needs of a program to read and write files: a platform without a screen, and the
// files room.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "base/host.h"
#include "files/files_state.h"
#include "platform/platform.h"

namespace quillmere {

class ProgramTest : public testing::Test {
 protected:
  ProgramTest() {
    platform_ = std::move(PlatformOpen(host).value());
    files_ = std::make_unique<FilesState>(host);
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    directory_ = std::filesystem::temp_directory_path() /
                 (std::string("quillmere-") + info->test_suite_name() + "-" + info->name());
    std::filesystem::create_directories(directory_);
  }
  ~ProgramTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  /// A path in a directory that goes away with the test.
  [[nodiscard]] std::string PathOf(const std::string& name) const { return directory_ / name; }

  Host host;

 private:
  std::unique_ptr<Platform> platform_;
  std::unique_ptr<FilesState> files_;
  std::filesystem::path directory_;
};

}  // namespace quillmere
