#pragma once

#include <cstdint>
#include <exception>
#include <string>

// Faults to order. Every n counts from 1 from the moment the faults are set; 0 is never. Each strikes once,
// or from the n-th on when `persistent` is set.
namespace standin {

enum class LockFault {
  kRefused,         // result 0
  kGrantedNothing,  // result 1, description left as it came
  kNullData,        // result 1, right kind, data null
  kWrongKind,       // result 1, data as usual, another kind
};

enum class BitmapFault { kNone, kWord0, kWord1806, kRowTable };

enum class Thrown { kForeign, kBadAlloc };

// What a service throws when told to throw kForeign.
struct ServiceException : std::exception {
  const char* what() const noexcept override { return "thrown by a service of the stand-in runtime"; }
};

struct Faults {
  int lock = 0;  // the n-th lock attempt, whatever its kind
  LockFault lockFault = LockFault::kRefused;
  BitmapFault bitmapFault = BitmapFault::kNone;  // every kind-10 record handed out has this word spoilt
  int picture = 0;  // the n-th "newPicture" or "REALBuildPictureFromBuffer" gives nil
  int shrinkPicture =
      0;               // the n-th picture made by "newPicture" or the constructor is a row and a column short
  int instance = 0;    // the n-th "PluginNewInstance" gives nil
  int allocation = 0;  // the n-th calloc, malloc or realloc that the plugin itself makes gives null
  std::string throwingService;  // the n-th call of this service throws (before it does anything)
  int throwAt = 0;
  Thrown thrown = Thrown::kForeign;
  bool persistent = false;
};

// What has been counted since SetFaults.
struct FaultCounts {
  int locks = 0;
  int pictures = 0;
  int instances = 0;
  int allocations = 0;
  int throwing = 0;  // calls of throwingService
  int struck = 0;    // faults that have happened
};

void SetFaults(const Faults& faults);
void ClearFaults();
const FaultCounts& CountedForFaults();

// Marks a stretch in which the program runs the plugin's code, so that allocations made there count as the
// plugin's. The methods of methods.h do this themselves; tests that call the plugin's functions directly use
// it.
class InsidePlugin {
 public:
  InsidePlugin();
  ~InsidePlugin();
  InsidePlugin(const InsidePlugin&) = delete;
  InsidePlugin& operator=(const InsidePlugin&) = delete;

 private:
  bool previous_;
};

// True when the program's allocator passes through the stand-in (not under AddressSanitizer).
bool AllocatorInterposed();

}  // namespace standin
