#ifndef PIXMORPH_REGISTRATION_DECLARATIONS_H_
#define PIXMORPH_REGISTRATION_DECLARATIONS_H_

namespace pixmorph {

// The declaration of a global method that extends a class with the declared method:
// "Name(a as integer) as T" becomes "Name(extends ref as Class, a as integer) as T". The result is at most
// 999 characters long and the caller's (`free`); null when memory is short.
char* AddClassParameter(char const* declaration, char const* className);

// The same for the setter of what is declared: "Name as T" becomes
// "Name(extends ref as Class, assigns value as T)". Null also when there is no place for the value.
char* AddClassParameterAssign(char const* declaration, char const* className);

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_DECLARATIONS_H_
