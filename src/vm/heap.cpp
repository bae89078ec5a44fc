#include "vm/heap.h"

#include <algorithm>
#include <cstring>

namespace quillmere {
namespace {

/// How much `a` is above `b`; 0 when it is not.
std::size_t Excess(std::size_t a, std::size_t b) {
  return a > b ? a - b : 0;
}

}  // namespace

VmHeap::~VmHeap() {
  for (VmObject* object : systemCells_) std::free(object);
}

void* VmHeap::AllocateFromSystem(std::size_t size) {
  if (!Charge(size)) return nullptr;
  void* block = std::malloc(size);
  if (block == nullptr) taken_ -= size;
  return block;
}

void* VmHeap::AllocateSystemCell(std::size_t size) {
  void* cell = AllocateFromSystem(size);
  if (cell == nullptr) return nullptr;
  taken_ += malloc_usable_size(cell) - size;
  systemCells_.push_back(::new (cell) VmObject);
  return cell;
}

void* VmHeap::AllocateFreshCell(CellClass& cells, std::size_t size) {
  if (cells.pages.empty() || Page::size - cells.pages.back()->used < size) {
    if (!Charge(sizeof(Page))) return nullptr;
    std::unique_ptr<Page> page(new (std::nothrow) Page);
    if (page == nullptr) {
      taken_ -= sizeof(Page);
      return nullptr;
    }
    cells.pages.push_back(std::move(page));
  }
  Page& page = *cells.pages.back();
  void* cell = page.bytes + page.used;
  page.used += size;
  return cell;
}

void* VmHeap::AllocateFreshBlock(std::size_t size) {
  if (chunkLeft_ < size) {
    // What is left of the old chunk serves as a block of its size.
    if (chunkLeft_ >= sizeof(Block)) Free(chunk_, chunkLeft_);
    chunkLeft_ = 0;
    if (!Charge(chunkSize)) return nullptr;
    std::unique_ptr<std::byte[]> chunk(new (std::nothrow) std::byte[chunkSize]);
    if (chunk == nullptr) {
      taken_ -= chunkSize;
      return nullptr;
    }
    chunk_ = chunk.get();
    chunkLeft_ = chunkSize;
    chunks_.push_back(std::move(chunk));
  }
  void* block = chunk_;
  chunk_ += size;
  chunkLeft_ -= size;
  return block;
}

void* VmHeap::Resize(void* block, std::size_t oldSize, std::size_t newSize) {
  if (vmSystemAllocator || (oldSize > largestBlock && newSize > largestBlock)) {
    if (!Charge(Excess(newSize, oldSize))) return nullptr;
    void* moved = std::realloc(block, newSize);
    taken_ -= moved != nullptr ? Excess(oldSize, newSize) : Excess(newSize, oldSize);
    return moved;
  }
  void* moved = Allocate(newSize);
  if (moved == nullptr) return nullptr;
  if (block != nullptr) std::memcpy(moved, block, std::min(oldSize, newSize));
  Free(block, oldSize);
  return moved;
}

}  // namespace quillmere
