#pragma once

// The watch over allocations that the plugin makes itself.
namespace standin {

// Counts an allocation of the plugin's; true when it is to fail.
bool StrikesAllocation();

}  // namespace standin
