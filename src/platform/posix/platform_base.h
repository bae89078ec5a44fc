// What both back-ends share of an opened platform.
#pragma once

#include <memory>
#include <string>

#include "platform/opening.h"
#include "platform/platform.h"
#include "platform/posix/break_watch.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_locale.h"
#include "platform/posix/requester_task.h"
#include "platform/posix/signal_box.h"

namespace quillmere {

/// Enters itself in the host when it is open, and leaves it when it goes. A platform whose opening
/// has failed half-way goes like any other.
class PlatformBase : public Platform {
 public:
  ~PlatformBase() override;

  PlatformFiles& files() override { return *files_; }
  PlatformRequesters& requesters() override { return *requesters_; }
  PlatformLocale& locale() override { return *locale_; }

 protected:
  explicit PlatformBase(Host& host) : host_(host) {}

  /// The steps that are the same for both; a back-end adds its own.
  [[nodiscard]] OpeningActions CommonActions(RequesterTask::Runner runRequester);
  /// Opens step by step, then the catalog, and enters the host.
  [[nodiscard]] Status Open(const OpeningActions& actions, std::string_view missing);
  /// Ends the requester task before what its requests use.
  void EndRequesters() { requesters_.reset(); }

  Host& host_;
  SignalBox signals_;
  std::unique_ptr<PosixFiles> files_;
  std::unique_ptr<PosixLocale> locale_;
  std::unique_ptr<RequesterTask> requesters_;

 private:
  std::unique_ptr<BreakWatch> breakWatch_;
  std::unique_ptr<PlatformCatalog> catalog_;
  bool entered_ = false;
};

}  // namespace quillmere
