// Lists of script objects in creation order: how an object is identified, found and counted. Every
// kind of object lives in one such list; the kinds that layers may show use the richer registry
// that is built on it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <ranges>
#include <unordered_map>
#include <utility>

#include "base/host.h"
#include "vm/object_id.h"

namespace quillmere {

/// The first fields of the record of every script object. They are changed by its list alone.
class ObjectRecord {
 public:
  ObjectRecord() = default;
  ObjectRecord(const ObjectRecord&) = delete;
  ObjectRecord& operator=(const ObjectRecord&) = delete;

  [[nodiscard]] const ObjectId& Id() const { return id_; }

 private:
  template <class T>
  friend class ObjectList;

  ObjectId id_;
};

/// Owns the records of one kind. Records keep their addresses for life, and removing one while the
/// list is walked disturbs only a walk that stands on it. `T` derives from ObjectRecord.
template <class T>
class ObjectList {
 public:
  /// `notFound` is the code of a failed lookup by number. The host must outlive the list.
  ObjectList(Host& host, Error notFound) : host_(host), notFound_(notFound) {}

  /// Takes a finished record in at the end. A handle other than 0 in `id` is replaced by the
  /// record's own address, and the number by 0.
  T& Append(std::unique_ptr<T> record, const ObjectId& id) {
    return Insert(std::move(record), id, records_.end());
  }

  /// The same at the head of the list.
  T& Prepend(std::unique_ptr<T> record, const ObjectId& id) {
    return Insert(std::move(record), id, records_.begin());
  }

  /// The first record with exactly this identifier, or null.
  [[nodiscard]] T* Lookup(const ObjectId& id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
  }

  /// The record, or the error of a failed lookup, whose number goes into the message.
  [[nodiscard]] Result<T*> Find(const ObjectId& id) const {
    if (T* record = Lookup(id)) return record;
    return NotFound(id);
  }

  /// The failure that a lookup of `id` gives.
  [[nodiscard]] std::unexpected<Error> NotFound(const ObjectId& id) const {
    if (id.handle != 0) return Fail(Error::ObjectNotFound);
    return host_.errors.Fail(notFound_, id.number);
  }

  /// Takes a record out and hands it over.
  std::unique_ptr<T> Remove(T& record) {
    Unindex(record);
    const auto place = std::ranges::find(records_, &record, &std::unique_ptr<T>::get);
    if (place == records_.end()) return nullptr;
    std::unique_ptr<T> taken = std::move(*place);
    records_.erase(place);
    return taken;
  }

  /// Gives a record the anonymous identifier: number 0 and its own address as the handle.
  void MakeAnonymous(T& record) {
    Unindex(record);
    Index(record, ObjectId{0, reinterpret_cast<std::uintptr_t>(&record)});
  }

  [[nodiscard]] std::size_t Count() const { return records_.size(); }
  [[nodiscard]] bool Empty() const { return records_.empty(); }

  /// All records in their order, as references.
  [[nodiscard]] auto All() {
    return records_ | std::views::transform([](auto& record) -> T& { return *record; });
  }
  [[nodiscard]] auto All() const {
    return records_ | std::views::transform([](auto& record) -> const T& { return *record; });
  }

  /// Frees all records without any check, first to last.
  void Clear() {
    byId_.clear();
    while (!records_.empty()) records_.pop_front();
  }

 protected:
  [[nodiscard]] Host& host() const { return host_; }

 private:
  using Records = std::list<std::unique_ptr<T>>;

  struct IdHash {
    std::size_t operator()(const ObjectId& id) const {
      return std::hash<std::uintptr_t>{}(id.handle ^ static_cast<std::uint32_t>(id.number));
    }
  };

  T& Insert(std::unique_ptr<T> record, ObjectId id, typename Records::iterator place) {
    T& added = *record;
    records_.insert(place, std::move(record));
    if (id.handle != 0) id = ObjectId{0, reinterpret_cast<std::uintptr_t>(&added)};
    Index(added, id);
    return added;
  }

  void Index(T& record, const ObjectId& id) {
    static_cast<ObjectRecord&>(record).id_ = id;
    if (const auto [entry, isNew] = byId_.try_emplace(id, &record); !isNew) Reindex(id);
  }

  void Unindex(T& record) {
    const auto entry = byId_.find(record.Id());
    if (entry == byId_.end() || entry->second != &record) return;
    const ObjectId id = record.Id();
    byId_.erase(entry);
    static_cast<ObjectRecord&>(record).id_ = ObjectId{0, 1};
    Reindex(id);
  }

  /// Two records may bear the same identifier; the first in the list answers to it.
  void Reindex(const ObjectId& id) {
    for (const auto& record : records_) {
      if (record->Id() == id) {
        byId_[id] = record.get();
        return;
      }
    }
  }

  Host& host_;
  Error notFound_;
  Records records_;
  std::unordered_map<ObjectId, T*, IdHash> byId_;
};

}  // namespace quillmere
