#pragma once

#include "standin/objects.h"

// Script code's view of the plugin: the five methods, found by their declarations in whatever was registered
// (a class extension or a module of `extends` methods, current or old layout) and called as compiled script
// calls them (cdecl, booleans as one byte). Empty Refs are nil.
//
// Every call throws std::runtime_error when the method is not registered, standin::RuntimeException when the
// plugin raised one (a picture it returned as well is released), and lets pass what a service threw through
// the plugin.
namespace standin {

Ref Scale(const Ref& self, int width, int height, bool antiAlias = false, int yieldTicks = 0);
Ref ScaleImageAndMask(const Ref& self, int width, int height, bool antiAlias = false, int yieldTicks = 0);
Ref Scaling(const Ref& self, int mode, int width, int height, int yield = 0);
Ref Blur(const Ref& self, double radius, int yield = 0);
bool DrawPictureF(const Ref& self, const Ref& picture, double x, double y, double alpha = 1.0, int yield = 0);

// The stack pointer modulo 16 at the call instruction of following calls: 0, 4, 8 or 12. A runtime of the
// time promises 4-byte alignment only; 0 is the default.
void SetCallStackOffset(int bytes);

}  // namespace standin
