#include "platform/posix/platform_base.h"

namespace quillmere {

PlatformBase::~PlatformBase() {
  if (!entered_) return;
  host_.messages.SetLookup({});
  host_.Leave(Platform::room);
}

OpeningActions PlatformBase::CommonActions(RequesterTask::Runner runRequester) {
  OpeningActions actions;
  actions["dos.library"] = [this] {
    files_ = std::make_unique<PosixFiles>();
    return true;
  };
  actions["locale.library"] = [this] {
    locale_ = std::make_unique<PosixLocale>(*files_);
    locale_->SetErrors(host_.errors);
    locale_->SetOnClosed([this] { signals_.Raise(Wake::Break); });
    return true;
  };
  actions["event signal"] = [this] {
    auto watch = BreakWatch::Create([this] { signals_.Raise(Wake::Break); },
                                    [this] { return signals_.Holds(Wake::Break); });
    if (watch) breakWatch_ = std::move(*watch);
    return watch.has_value();
  };
  actions["requester task"] = [this, run = std::move(runRequester)] {
    auto task = RequesterTask::Create(run, [this] { signals_.Raise(Wake::Requester); });
    if (task) requesters_ = std::move(*task);
    return task.has_value();
  };
  return actions;
}

Status PlatformBase::Open(const OpeningActions& actions, std::string_view missing) {
  TRY(OpenInOrder(host_.errors, actions, missing));
  catalog_ = locale_->OpenCatalog("Quillmere/Quillmere.catalog", 0);
  if (catalog_) {
    host_.messages.SetLookup([catalog = catalog_.get()](int id, std::string_view fallback) {
      return catalog->GetCatalogStr(id).value_or(std::string(fallback));
    });
  }
  host_.Enter<Platform>(*this);
  entered_ = true;
  return {};
}

}  // namespace quillmere
