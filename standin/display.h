#pragma once

#include <sys/types.h>
#include <string>

// The X display that GDK pictures live on.
namespace standin {

// Connects GDK to $DISPLAY, once per process. Returns an empty text, or why it could not be done.
std::string ConnectDisplay();
// The same, throwing std::runtime_error with that reason.
void EnsureDisplay();

// Runs an Xvfb of its own on a free display and points $DISPLAY at it; ends it and restores $DISPLAY when
// destroyed. Start it before anything connects, and before forking children that connect.
class OwnDisplay {
 public:
  OwnDisplay();  // throws std::runtime_error when no server can be started
  ~OwnDisplay();
  OwnDisplay(const OwnDisplay&) = delete;
  OwnDisplay& operator=(const OwnDisplay&) = delete;
  const std::string& Name() const { return name_; }

 private:
  pid_t server_ = -1;
  pid_t owner_ = -1;
  std::string name_;
  std::string previous_;
  bool hadPrevious_ = false;
};

}  // namespace standin
