#pragma once

// The clock that clock_gettime reads in this process, plugin included. It is the system's until a test sets
// it.
namespace standin {

// From now on the monotonic clock stands at `seconds` (0 and above) until it is moved.
void SetClock(double seconds);
void AdvanceClock(double seconds);
void UseSystemClock();
// Every reading of the set clock moves it on by this much (0 by default): time that passes while the plugin
// works.
void SetClockStep(double seconds);

// Makes clock_gettime fail for the monotonic clock, for the realtime clock, or for both.
void FailClocks(bool monotonic, bool realtime);
// The realtime clock, where the set clock is in force: seconds, moved by hand only.
void SetRealtimeClock(double seconds);

// Readings of either clock since the last SetClock, FailClocks or UseSystemClock.
int ClockReads();

}  // namespace standin
