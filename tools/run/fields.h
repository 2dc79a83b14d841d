#ifndef PIXMORPH_TOOLS_RUN_FIELDS_H_
#define PIXMORPH_TOOLS_RUN_FIELDS_H_

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tool {

// Named values for a report, in the order in which they are to appear.
using Field = std::pair<const char*, std::variant<bool, int, double, std::string>>;
using Fields = std::vector<Field>;

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_FIELDS_H_
