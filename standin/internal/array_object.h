#pragma once

#include <cstdint>
#include <vector>

#include "standin/internal/object.h"
#include "standin/objects.h"

namespace standin {

// Elements lie in 8 bytes each, in their own width from the first byte on; strings and objects are kept
// references.
class ArrayObject : public Object {
 public:
  explicit ArrayObject(Element kind) : Object(FindClass("Array")), element(kind) {}
  void Dispose() override;
  std::size_t Size() const { return cells.size(); }
  bool Has(int index) const { return index >= 0 && static_cast<std::size_t>(index) < cells.size(); }
  bool HoldsReferences() const { return element == Element::kString || element == Element::kObject; }
  // Takes a reference of the runtime's to what a cell is about to hold, or drops the one that it held.
  void Keep(std::uint64_t cell);
  void Drop(std::uint64_t cell);

  const Element element;
  std::vector<std::uint64_t> cells;
};

}  // namespace standin
