// A headless platform for the tests of this room.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "base/host.h"
#include "platform/headless/headless_platform.h"

namespace quillmere {

/// An opened headless platform with what it has reported.
struct OpenPlatform {
  explicit OpenPlatform(std::string_view inputScript = {}, HeadlessSettings settings = {}) {
    auto script = ParseInputScript(inputScript, "script");
    EXPECT_TRUE(script.has_value()) << script.error();
    settings.input = std::move(*script);
    settings.report = [this](std::string_view text) { reports.append(text); };
    auto opened = OpenHeadlessPlatform(host, std::move(settings));
    EXPECT_TRUE(opened.has_value());
    platform = std::move(*opened);
  }

  Platform* operator->() const { return platform.get(); }

  std::unique_ptr<PlatformWindow> OpenWindow(WindowOptions options) const {
    auto window = platform->windows().OpenPlatformWindow(options);
    EXPECT_TRUE(window.has_value());
    return std::move(*window);
  }

  /// Lets the time pass up to a moment and fetches all messages that have come by then.
  std::vector<WindowMessage> MessagesUntil(std::chrono::milliseconds moment) const {
    std::vector<WindowMessage> messages;
    for (;;) {
      while (auto message = platform->windows().GetNextWindowMessage()) {
        messages.push_back(std::move(*message));
      }
      const Wake wake = platform->waiting().WaitForSignals(moment);
      if (!Has(wake, Wake::Input)) return messages;
    }
  }

  Host host;
  std::string reports;
  std::unique_ptr<Platform> platform;
};

/// A directory that goes with its test.
class TempDirectory {
 public:
  TempDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "quillmere-test-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~TempDirectory() { std::filesystem::remove_all(path_); }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  [[nodiscard]] std::string File(std::string_view name) const {
    return path_ + "/" + std::string(name);
  }
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace quillmere
