// The sort of the language, apart from the machine. Which elements meet, and in which order, shows
// in a script's compare function, so that the steps are part of the language.
#pragma once

#include "base/error.h"

namespace quillmere {

/// Divides the elements `low` to `high` (four at least, the outer and the middle ones in order)
/// around the middle one and returns its new place.
template <class List>
Result<int> Partition(List& list, int low, int high) {
  const int middle = low + (high - low) / 2;
  list.TakePivot(middle);
  list.Swap(middle, high - 1);
  int i = low;
  int j = high - 1;
  while (true) {
    do {
      if (++i > high) return Fail(Error::InvalidSortOrder);
    } while (TRY(list.LessThanPivot(i)));
    do {
      if (--j < low) return Fail(Error::InvalidSortOrder);
    } while (TRY(list.PivotLessThan(j)));
    if (j < i) break;
    list.Swap(i, j);
  }
  list.DropPivot();
  list.Swap(high - 1, i);
  return i;
}

/// Sorts the elements `low` to `high` of a list in place. Not stable. An order that contradicts
/// itself is `Error::InvalidSortOrder`. The list offers
///
///   Result<bool> Less(int a, int b)        is element a smaller than element b
///   void Swap(int a, int b)
///   void TakePivot(int i)                  keeps a copy of element i as the pivot
///   Result<bool> LessThanPivot(int i)      is element i smaller than the pivot
///   Result<bool> PivotLessThan(int i)      is the pivot smaller than element i
///   void DropPivot()
///
/// with one pivot at a time. Calls nest to the logarithm of the count.
template <class List>
Status QuickSort(List& list, int low, int high) {
  while (low < high) {
    if (TRY(list.Less(high, low))) list.Swap(low, high);
    if (high - low == 1) break;
    const int middle = low + (high - low) / 2;
    if (TRY(list.Less(middle, low))) {
      list.Swap(middle, low);
    } else if (TRY(list.Less(high, middle))) {
      list.Swap(middle, high);
    }
    if (high - low == 2) break;
    const int pivot = TRY(Partition(list, low, high));
    if (pivot - low < high - pivot) {
      TRY(QuickSort(list, low, pivot - 1));
      low = pivot + 1;
    } else {
      TRY(QuickSort(list, pivot + 1, high));
      high = pivot - 1;
    }
  }
  return {};
}

}  // namespace quillmere
