#include "registration/old_layout.h"

#include <cstring>

#include "host/versions.h"
#include "support/memory.h"
#include "support/numeric.h"
#include "support/owned.h"

namespace pixmorph {
namespace {

using Word = std::uint32_t;

// One list of rows: the word of the record with its address (the count follows it) and the bytes per row now
// and then.
struct RowList {
  std::size_t word;
  std::int32_t bytes;
  std::int32_t oldBytes;
  bool rowsPointToCopies;
};

#define WORD_OF(record, field) (offsetof(record, field) / sizeof(Word))

constexpr RowList Methods(std::size_t word) { return {word, 24, 16, false}; }
constexpr RowList Properties(std::size_t word) { return {word, 48, 40, false}; }
constexpr RowList Constants(std::size_t word) { return {word, 20, 12, false}; }
constexpr RowList Events(std::size_t word) { return {word, 16, 8, true}; }

constexpr RowList kClassLists[] = {
    Properties(WORD_OF(REALclassDefinition, properties)),
    Methods(WORD_OF(REALclassDefinition, methods)),
    Events(WORD_OF(REALclassDefinition, events)),
    Constants(WORD_OF(REALclassDefinition, constants)),
    Properties(WORD_OF(REALclassDefinition, sharedProperties)),
    Methods(WORD_OF(REALclassDefinition, sharedMethods)),
};
constexpr RowList kModuleLists[] = {
    Methods(WORD_OF(REALmoduleDefinition, methods)),
    Constants(WORD_OF(REALmoduleDefinition, constants)),
    Properties(WORD_OF(REALmoduleDefinition, properties)),
    {WORD_OF(REALmoduleDefinition, rows24), 24, 16, false},
    {WORD_OF(REALmoduleDefinition, rows28), 28, 20, false},
};
constexpr RowList kInterfaceLists[] = {Methods(WORD_OF(REALinterfaceDefinition, methods))};
constexpr RowList kControlLists[] = {
    Properties(WORD_OF(REALcontrol, properties)),
    Methods(WORD_OF(REALcontrol, methods)),
    Events(WORD_OF(REALcontrol, events)),
    Constants(WORD_OF(REALcontrol, constants)),
};

char* AddressIn(Word word) { return reinterpret_cast<char*>(word); }
Word WordOf(void* address) { return reinterpret_cast<Word>(address); }

// The rows cut to their old size, in `*copy`; null for an empty list. False when memory is short.
bool CutRows(const RowList& list, char* rows, std::int32_t count, char** copy) {
  *copy = nullptr;
  if (!rows || count < 1) return true;
  *copy = static_cast<char*>(AllocateClearMemory(ByteSize(count).Times(list.oldBytes).Bytes()));
  if (!*copy) return false;
  for (std::int32_t i = 0; i < count; ++i) {
    char* row = rows + i * list.bytes;
    char* old = *copy + i * list.oldBytes;
    std::memcpy(old, row, static_cast<std::size_t>(list.oldBytes));
    if (list.rowsPointToCopies) reinterpret_cast<Word*>(row)[1] = WordOf(old);
  }
  return true;
}

// Replaces every list of `words`; false when memory is short, with nothing left allocated.
bool CutLists(Word* words, const RowList* lists, std::size_t listCount) {
  for (std::size_t i = 0; i < listCount; ++i) {
    char* copy = nullptr;
    const auto count = static_cast<std::int32_t>(words[lists[i].word + 1]);
    if (!CutRows(lists[i], AddressIn(words[lists[i].word]), count, &copy)) {
      while (i-- > 0) FreeMemoryNow(AddressIn(words[lists[i].word]));
      return false;
    }
    words[lists[i].word] = WordOf(copy);
  }
  return true;
}

template <std::size_t kListCount>
WorkBuffer<Word> OldCopy(const void* record, std::size_t oldBytes, const RowList (&lists)[kListCount]) {
  WorkBuffer<Word> copy(static_cast<std::int64_t>(oldBytes));
  if (!copy) return copy;
  std::memcpy(copy.Get(), record, oldBytes);
  copy[0] = static_cast<Word>(CurrentREALControlVersion);
  if (!CutLists(copy.Get(), lists, kListCount)) copy.Release();
  return copy;
}

}  // namespace

void* FixClass(const REALclassDefinition* record) {
  WorkBuffer<Word> copy = OldCopy(record, kOldClassBytes, kClassLists);
  if (!copy) return nullptr;
  copy[WORD_OF(REALclassDefinition, obsoleteList)] = 0;
  copy[WORD_OF(REALclassDefinition, obsoleteCount)] = 0;
  return copy.Detach();
}

void* FixModule(const REALmoduleDefinition* record) {
  return OldCopy(record, kOldModuleBytes, kModuleLists).Detach();
}

void* FixInterface(const REALinterfaceDefinition* record) {
  return OldCopy(record, kOldInterfaceBytes, kInterfaceLists).Detach();
}

void* FixControl(const REALcontrol* record) {
  return OldCopy(record, kOldControlBytes, kControlLists).Detach();
}

}  // namespace pixmorph
