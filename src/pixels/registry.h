// The registries of objects that scripts create and name. On top of the plain list stands what the
// kinds that layers show have in common: an object may be locked, freeing an object that a layer
// still shows only hides it, and changing one leaves the layers a hidden clone of what it was.
//
// Layers live above this room. They join through `LayerLinks`, the one interface by which a
// registry asks whether a layer refers to an object and moves such layers to another record.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "base/host.h"
#include "pixels/object_types.h"
#include "vm/object_list.h"

namespace quillmere {

struct qmLayer;

/// The fields of every record that a registry keeps.
struct RegistryRecord : ObjectRecord {
  /// While above 0 the object may neither be modified nor freed.
  int locked = 0;
  /// The script has freed the object, but something still shows it.
  bool hidden = false;
};

/// The layers of all background pictures, as the registries see them. A layer refers to an object
/// by type, or the type's twin, and identifier; to a clip region by the region of its current
/// frame.
class LayerLinks {
 public:
  virtual ~LayerLinks() = default;
  /// Makes every layer that refers to `object` refer to `replacement` anonymously (number 0, the
  /// record's address as handle). True when there was such a layer.
  virtual bool RetargetLayers(ObjectType type, const RegistryRecord& object,
                              RegistryRecord& replacement) = 0;
  /// Whether a layer other than `except` refers to `object`.
  [[nodiscard]] virtual bool ReferencedByLayer(ObjectType type, const RegistryRecord& object,
                                               const qmLayer* except) const = 0;
};

/// Knows all registries whose objects layers may show, and the layers once the scene has joined.
class ObjectDirectory {
 public:
  /// Null, as at the start, stands for no layers at all. The links must outlive their use here.
  void SetLayerLinks(LayerLinks* links) { links_ = links; }

  bool RetargetLayers(ObjectType type, const RegistryRecord& object, RegistryRecord& replacement) {
    return links_ != nullptr && links_->RetargetLayers(type, object, replacement);
  }
  [[nodiscard]] bool ReferencedByLayer(ObjectType type, const RegistryRecord& object,
                                       const qmLayer* except = nullptr) const {
    return links_ != nullptr && links_->ReferencedByLayer(type, object, except);
  }

  /// Frees the hidden objects of the kinds in `mask` (bits of SweepMask) that nothing shows any
  /// more; clip regions always.
  void CollectHidden(unsigned mask);

  /// A registry enters its sweep here and takes it out again.
  void AddSweep(const void* owner, unsigned bit, std::function<void()> sweep);
  void RemoveSweep(const void* owner);

 private:
  struct Sweep {
    const void* owner;
    unsigned bit;
    std::function<void()> run;
  };
  LayerLinks* links_ = nullptr;
  std::vector<Sweep> sweeps_;
};

/// Flags of `FindObject`.
enum FindFlags : unsigned {
  /// The caller is about to change the object: a locked one is refused, layers are detached.
  FIND_MODIFY = 1,
  /// Hidden records are found too.
  FIND_HIDDEN = 2,
  /// With FIND_MODIFY: the layers follow the change.
  FIND_KEEP_LAYERS = 4,
  /// A vector brush is refused.
  FIND_NO_VECTOR = 8
};

/// The registry of one kind. `T` derives from RegistryRecord.
template <class T>
class Registry : public ObjectList<T> {
 public:
  /// What the owner of the kind tells the registry; every hook may be left empty.
  struct Hooks {
    /// A copy of a record for the layers to keep.
    std::function<Result<std::unique_ptr<T>>(const T&)> clone;
    /// Refuses what FIND_NO_VECTOR refuses when it gives true.
    std::function<bool(const T&)> isVector;
    /// Refuses to free, for instance the current output.
    std::function<Status(const T&)> mayFree;
    /// Something other than a layer still shows the record, so that it is hidden, not freed.
    std::function<bool(const T&)> inUse;
  };

  Registry(Host& host, ObjectDirectory& directory, const RegistryKind& kind, Hooks hooks = {})
      : ObjectList<T>(host, kind.notFound),
        directory_(directory),
        kind_(kind),
        hooks_(std::move(hooks)) {
    if (kind.sweep != 0) directory.AddSweep(this, kind.sweep, [this] { CollectHidden(); });
  }
  ~Registry() { directory_.RemoveSweep(this); }
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  /// Finds a record under the rules of `flags` (bits of FindFlags). With FIND_MODIFY a record that
  /// layers show is detached first: they get a hidden clone.
  [[nodiscard]] Result<T*> FindObject(const ObjectId& id, unsigned flags = 0) {
    T* record = this->Lookup(id);
    if (record == nullptr || (record->hidden && !(flags & FIND_HIDDEN))) return this->NotFound(id);
    if ((flags & FIND_NO_VECTOR) && hooks_.isVector && hooks_.isVector(*record)) {
      return Fail(Error::BrushTypeUnsupported);
    }
    if (flags & FIND_MODIFY) {
      if (record->locked != 0) return Fail(Error::ObjectLocked);
      if (!(flags & FIND_KEEP_LAYERS)) TRY(DetachLayers(*record));
    }
    return record;
  }

  /// Frees an object, or hides it while layers show it. Without `mustExist` absence is no error.
  Status FreeObject(const ObjectId& id, bool mustExist) {
    T* record = this->Lookup(id);
    if (record == nullptr || record->hidden) {
      if (mustExist) return this->NotFound(id);
      return {};
    }
    if (hooks_.mayFree) TRY(hooks_.mayFree(*record));
    if (record->locked != 0) return Fail(Error::ObjectLocked);
    const bool shown = kind_.sweep != 0 && directory_.RetargetLayers(kind_.type, *record, *record);
    if (shown || (hooks_.inUse && hooks_.inUse(*record))) {
      this->MakeAnonymous(*record);
      record->hidden = true;
      return {};
    }
    this->Remove(*record);
    return {};
  }

  /// The first step of every constructor: an object that already bears the number is freed
  /// silently. A request for a handle needs nothing.
  Status MakeRoomFor(const ObjectId& id) {
    if (id.handle != 0) return {};
    return FreeObject(id, false);
  }

  /// Leaves the layers that show the record a hidden clone of it.
  Status DetachLayers(T& record) {
    if (kind_.sweep == 0 || !directory_.ReferencedByLayer(kind_.type, record) || !hooks_.clone) {
      return {};
    }
    T& clone = this->Append(TRY(hooks_.clone(record)), ObjectId{0, 1});
    clone.hidden = true;
    directory_.RetargetLayers(kind_.type, record, clone);
    return {};
  }

  /// Frees the hidden records that nothing shows any more.
  void CollectHidden() {
    std::vector<T*> unused;
    for (T& record : this->All()) {
      const bool inUse = hooks_.inUse && hooks_.inUse(record);
      if (record.hidden && !inUse && !directory_.ReferencedByLayer(kind_.type, record)) {
        unused.push_back(&record);
      }
    }
    for (T* record : unused) this->Remove(*record);
  }

  [[nodiscard]] Hooks& hooks() { return hooks_; }

 private:
  ObjectDirectory& directory_;
  RegistryKind kind_;
  Hooks hooks_;
};

}  // namespace quillmere
