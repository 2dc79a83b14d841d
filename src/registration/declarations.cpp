#include "registration/declarations.h"

#include <cstdlib>
#include <cstring>

namespace pixmorph {
namespace {

constexpr std::size_t kDeclarationBytes = 1000;

// A declaration in the making: what does not fit is cut.
struct DeclarationText {
  char text[kDeclarationBytes] = {};
  std::size_t length = 0;

  void Append(char const* more, std::size_t count) {
    const std::size_t room = kDeclarationBytes - 1 - length;
    if (count > room) count = room;
    std::memcpy(text + length, more, count);
    length += count;
  }
  void Append(char const* more) { Append(more, std::strlen(more)); }
};

void PlaceAssignedValue(DeclarationText& result, char const* declaration, char const* split,
                        char const* opening, char const* rest) {
  result.Append(declaration, static_cast<std::size_t>(split - declaration));
  result.Append(opening);
  result.Append(rest);
  result.Append(")");
}

// `strdup` of the declaration with its assigned value, or null.
char* WithAssignedValue(char const* declaration) {
  DeclarationText result;
  if (char const* end = std::strchr(declaration, ')')) {
    PlaceAssignedValue(result, declaration, end, ", assigns value", end + 1);
  } else if (char const* space = std::strchr(declaration, ' ')) {
    PlaceAssignedValue(result, declaration, space, "(assigns value", space);
  } else {
    return nullptr;
  }
  return strdup(result.text);
}

}  // namespace

char* AddClassParameter(char const* declaration, char const* className) {
  const std::size_t nameLength = std::strcspn(declaration, "( ");
  char const* rest = declaration + nameLength;
  const bool hasParameters = *rest == '(';
  DeclarationText result;
  result.Append(declaration, nameLength);
  result.Append("(extends ref as ");
  result.Append(className);
  result.Append(hasParameters ? ", " : ")");
  result.Append(hasParameters ? rest + 1 : rest);
  return strdup(result.text);
}

char* AddClassParameterAssign(char const* declaration, char const* className) {
  char* extended = AddClassParameter(declaration, className);
  if (!extended) return nullptr;
  char* result = WithAssignedValue(extended);
  std::free(extended);
  return result;
}

}  // namespace pixmorph
