#pragma once

#include <cstddef>
#include <string>

// Who owns what. Gross faults (a second unlock, use after release, lock or unlock of nil, an unknown handle)
// stop the run where they happen: a report on stderr, then abort(). Balance is asked for at quiet moments:
// between calls of the plugin.
namespace standin {

// One line per object that has more or fewer references than the test and the runtime itself hold, per
// picture that is still locked, and per block of memory that the plugin allocated since ResetPluginMemory and
// did not free (only in programs that interpose the allocator). Empty: all is balanced.
std::string CheckLedger();

// Live objects of a class ("Picture", "String", "MemoryBlock", "Graphics", ...); of all classes when null.
int LiveObjects(const char* className = nullptr);

// Memory that the plugin itself allocated (calloc, malloc, realloc called from it) and not freed or handed
// over. What it allocates while registering is not counted. Always 0 where the allocator is not interposed.
std::size_t LivePluginBlocks();
std::size_t PeakPluginBytes();
void ResetPluginMemory();

// The fault report that precedes abort(): for checks of the stand-in's own.
[[noreturn]] void StopRun(const std::string& what);

}  // namespace standin
