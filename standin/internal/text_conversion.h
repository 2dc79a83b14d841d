#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace standin {

// The text in another encoding: empty result when either encoding is unknown here (only Latin-1, ASCII and
// the three Unicode forms are), or when the text is not valid in its own. Characters that the target lacks
// become '?'. [pure]
std::optional<std::string> ConvertText(const std::string& bytes, std::uint32_t from, std::uint32_t to);

}  // namespace standin
