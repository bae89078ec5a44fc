// Memory of the machine. Two kinds of it: cells, each of which holds one object and can be found
// again by walking all cells, so that objects need no chain through them; and blocks, whatever an
// object owns beside its record. Small ones come from size classes of eight bytes each: taking one
// is popping a list or moving a mark, and what a sweep frees lies in the order of addresses again.
#pragma once

#include <malloc.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "vm/object.h"
#include "vm/switches.h"

namespace quillmere {

class VmHeap {
 public:
  VmHeap() = default;
  VmHeap(const VmHeap&) = delete;
  VmHeap& operator=(const VmHeap&) = delete;
  ~VmHeap();

  /// From now on requests fail, as they do when memory is out, that would take what the heap holds
  /// of the system's memory beyond this many bytes.
  void SetLimit(std::size_t bytes) { limit_ = bytes; }

  /// A cell for an object of at most `largestCell` bytes; null when memory is out.
  [[nodiscard]] void* AllocateCell(std::size_t size) {
    if constexpr (vmSystemAllocator) return AllocateSystemCell(size);
    CellClass& cells = cells_[(size + 7) >> 3];
    if (cells.free != nullptr) {
      FreeCell* cell = cells.free;
      cells.free = cell->next;
      return cell;
    }
    return AllocateFreshCell(cells, (size + 7) & ~std::size_t{7});
  }

  /// Calls `keep(VmObject&)` for every object. An object that is not kept must have let go of its
  /// blocks; its cell is free afterwards.
  template <class Keep>
  void Sweep(Keep&& keep);

  /// A block; null when memory is out.
  [[nodiscard]] void* Allocate(std::size_t size) {
    if (vmSystemAllocator || size > largestBlock) return AllocateFromSystem(size);
    Block*& free = blocks_[(size + 7) >> 3];
    if (free != nullptr) {
      Block* block = free;
      free = block->next;
      return block;
    }
    return AllocateFreshBlock((size + 7) & ~std::size_t{7});
  }

  void Free(void* block, std::size_t size) {
    if (block == nullptr) return;
    if (vmSystemAllocator || size > largestBlock) {
      taken_ -= size;
      return std::free(block);
    }
    Block*& free = blocks_[(size + 7) >> 3];
    free = ::new (block) Block{free};
  }

  /// The block with its bytes in another size; null, and the block as it was, when memory is out.
  [[nodiscard]] void* Resize(void* block, std::size_t oldSize, std::size_t newSize);

  static constexpr std::size_t largestCell = 2080;

 private:
  struct FreeCell : VmObject {
    FreeCell* next = nullptr;
  };
  struct Block {
    Block* next;
  };
  struct Page {
    static constexpr std::size_t size = 32 * 1024;
    /// Bytes handed out so far.
    std::size_t used = 0;
    alignas(16) std::byte bytes[size];
  };
  struct CellClass {
    FreeCell* free = nullptr;
    std::vector<std::unique_ptr<Page>> pages;
  };

  static constexpr std::size_t largestBlock = 512;
  static constexpr std::size_t chunkSize = 64 * 1024;

  /// Notes that so many bytes more are wanted of the system; false when that is too much.
  [[nodiscard]] bool Charge(std::size_t size) {
    if (taken_ > limit_ || size > limit_ - taken_) return false;
    taken_ += size;
    return true;
  }

  void* AllocateFromSystem(std::size_t size);
  void* AllocateSystemCell(std::size_t size);
  void* AllocateFreshCell(CellClass& cells, std::size_t size);
  void* AllocateFreshBlock(std::size_t size);

  template <class Keep>
  void SweepClass(CellClass& cells, std::size_t size, Keep& keep);

  std::array<CellClass, largestCell / 8 + 1> cells_;
  std::array<Block*, largestBlock / 8 + 1> blocks_{};
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte* chunk_ = nullptr;
  std::size_t chunkLeft_ = 0;
  /// Bytes that are held of the system's memory, and how many there may be.
  std::size_t taken_ = 0;
  std::size_t limit_ = std::numeric_limits<std::size_t>::max();
  /// Every object, when the system's allocator is in use.
  std::vector<VmObject*> systemCells_;
};

template <class Keep>
void VmHeap::SweepClass(CellClass& cells, std::size_t size, Keep& keep) {
  FreeCell** tail = &cells.free;
  std::size_t keptPages = 0;
  for (std::unique_ptr<Page>& page : cells.pages) {
    FreeCell** const pageTail = tail;
    bool isEmpty = true;
    for (std::size_t at = 0; at < page->used; at += size) {
      auto* object = reinterpret_cast<VmObject*>(page->bytes + at);
      if (object->kind != VmKind::Free && keep(*object)) {
        isEmpty = false;
        continue;
      }
      auto* cell = ::new (object) FreeCell;
      *tail = cell;
      tail = &cell->next;
    }
    if (isEmpty) {
      tail = pageTail;
      page.reset();
      taken_ -= sizeof(Page);
    } else {
      cells.pages[keptPages++].swap(page);
    }
  }
  *tail = nullptr;
  cells.pages.resize(keptPages);
}

template <class Keep>
void VmHeap::Sweep(Keep&& keep) {
  if constexpr (vmSystemAllocator) {
    std::erase_if(systemCells_, [&](VmObject* object) {
      if (keep(*object)) return false;
      taken_ -= malloc_usable_size(object);
      std::free(object);
      return true;
    });
    return;
  }
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    if (!cells_[i].pages.empty()) SweepClass(cells_[i], i * 8, keep);
  }
}

}  // namespace quillmere
