#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "standin/internal/object.h"
#include "standin/registrations.h"
#include "standin/runtime.h"

// What one start of the stand-in runtime holds besides its objects.
namespace standin {

struct State {
  Config config;
  std::vector<std::string> lookups;
  std::vector<Registration> registrations;
  std::vector<int> reportedVersions;
  Kept raised;
};

State& TheState();

// The version's branch: an unreported one, or one that is no number, counts as older than all.
bool VersionAtLeast(double threshold);

// Counts one event and tells whether an ordered fault strikes now.
bool StrikesLock();
bool StrikesPicture();
bool StrikesShrink();
bool StrikesInstance();
void ThrowIfOrdered(const char* service);
// The faults in force.
const struct Faults& OrderedFaults();

// The memory that the plugin's code lies in, found from one address inside it (heap interposition).
void RememberPluginImage(const void* address);

}  // namespace standin
