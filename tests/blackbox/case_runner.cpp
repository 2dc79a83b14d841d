// Runs single calls of the built plugin in the stand-in runtime, one command a line on stdin, one answer a
// line on stdout. A driver makes the commands and judges the answers; nothing is judged here.
//
//   case_runner LIBRARY console|desktop VERSION      (VERSION "none": the runtime does not tell it)
//
//   picture NAME STORE ALPHA WIDTH HEIGHT STRIDE SCRAMBLED GUARD PIXELS    a picture; PIXELS: 8 hex digits
//   each mask NAME MASK                                    gives the picture a mask ("-": none) new PLAIN
//   ALPHA MASK STRIDE                       the memory of pictures that the runtime makes without DECLARATION
//   the runtime lacks this object method; nothing: has all clock START STEP seconds; every reading moves the
//   clock on stack OFFSET                                      of the stack pointer at the calls faults
//   [KEY=VALUE ...]                            faults to order; nothing: none onyield [NTH METHOD ARGUMENTS]
//   script code that runs in the n-th yield (0: in each) call RESULT METHOD ARGUMENTS                      ->
//   KIND YIELDS get NAME | getmask NAME                           -> WIDTH HEIGHT ALPHA INTACT PIXELS, or "-"
//   check                                             -> what the ledger has against it, or "balanced"
//   counts                                            -> locks pictures instances allocations throwing struck
//   services                                          -> NAME=CALLS of every service called, between tabs
//   sine NUMBER ...                                   -> NUMBER ...
//   reset                                             forgets pictures, faults and counts
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <new>
#include <sstream>

#include "standin/clock.h"
#include "standin/display.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/methods.h"
#include "standin/runtime.h"

namespace {

using standin::Ref;
using Words = std::istringstream;

std::map<std::string, Ref> gPictures;

struct YieldScript {
  int nth = -1;  // -1: nothing runs
  std::string call;
  int yields = 0;
  bool running = false;
};
YieldScript gScript;

template <class T>
T Next(Words& words) {
  T value{};
  if (!(words >> value)) throw std::runtime_error("command too short");
  return value;
}

// Doubles arrive as strtod reads them: hexadecimal, "nan", "-inf".
double NextReal(Words& words) { return std::strtod(Next<std::string>(words).c_str(), nullptr); }

Ref Named(const std::string& name) {
  if (name == "-") return {};
  const auto found = gPictures.find(name);
  if (found == gPictures.end()) throw std::runtime_error("no picture " + name);
  return found->second;
}
Ref NextPicture(Words& words) { return Named(Next<std::string>(words)); }

standin::Store StoreNamed(const std::string& name) {
  static const std::map<std::string, standin::Store> stores{{"bitmap", standin::Store::kBitmap},
                                                            {"cairo", standin::Store::kCairo},
                                                            {"gdk", standin::Store::kGdk},
                                                            {"refusing", standin::Store::kRefusing}};
  return stores.at(name);
}

std::vector<std::uint32_t> PixelsFromHex(const std::string& text) {
  std::vector<std::uint32_t> pixels;
  for (std::size_t at = 0; at + 8 <= text.size(); at += 8)
    pixels.push_back(static_cast<std::uint32_t>(std::stoul(text.substr(at, 8), nullptr, 16)));
  return pixels;
}

void MakePicture(Words& words) {
  const auto name = Next<std::string>(words);
  standin::StoreOptions options;
  options.store = StoreNamed(Next<std::string>(words));
  const bool alpha = Next<int>(words) != 0;
  const int width = Next<int>(words), height = Next<int>(words);
  options.extraStrideBytes = Next<int>(words);
  options.scrambledRows = Next<int>(words) != 0;
  options.guard = static_cast<standin::Guard>(Next<int>(words));
  const auto pixels = PixelsFromHex(Next<std::string>(words));
  if (pixels.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    throw std::runtime_error("pixels and size of " + name + " differ");
  Ref picture =
      alpha ? standin::NewAlphaPicture(width, height, options) : standin::NewPicture(width, height, options);
  standin::SetPixels(picture, pixels);
  gPictures[name] = picture;
}

void SetNewStores(Words& words) {
  standin::StoreOptions options[3];
  for (auto& option : options) option.store = StoreNamed(Next<std::string>(words));
  const int stride = Next<int>(words);
  for (auto& option : options) option.extraStrideBytes = stride;
  auto& config = standin::CurrentConfig();
  config.newPictures = options[0];
  config.newAlphaPictures = options[1];
  config.newMasks = options[2];
}

void SetFaults(Words& words) {
  standin::Faults faults;
  std::string entry;
  while (words >> entry) {
    const auto at = entry.find('=');
    const std::string key = entry.substr(0, at), value = entry.substr(at + 1);
    if (key == "service") {
      std::string rest;  // names of methods hold spaces; this key comes last
      std::getline(words, rest);
      faults.throwingService = value + rest;
      break;
    }
    const int number = std::stoi(value);
    if (key == "lock")
      faults.lock = number;
    else if (key == "lockfault")
      faults.lockFault = static_cast<standin::LockFault>(number);
    else if (key == "bitmapfault")
      faults.bitmapFault = static_cast<standin::BitmapFault>(number);
    else if (key == "picture")
      faults.picture = number;
    else if (key == "shrink")
      faults.shrinkPicture = number;
    else if (key == "instance")
      faults.instance = number;
    else if (key == "allocation")
      faults.allocation = number;
    else if (key == "throwat")
      faults.throwAt = number;
    else if (key == "thrown")
      faults.thrown = static_cast<standin::Thrown>(number);
    else if (key == "persistent")
      faults.persistent = number != 0;
    else
      throw std::runtime_error("no fault " + key);
  }
  standin::SetFaults(faults);
}

std::string ResultOf(const Ref& self, Ref result, const std::string& name) {
  if (!result) return "nil";
  if (result == self) return "same";
  gPictures[name] = std::move(result);
  return "new";
}

std::string CallMethod(const std::string& name, Words& words) {
  const auto method = Next<std::string>(words);
  const Ref self = NextPicture(words);
  if (method == "scale" || method == "scalewithmask") {
    const int width = Next<int>(words), height = Next<int>(words);
    const bool smooth = Next<int>(words) != 0;
    const int yield = Next<int>(words);
    auto* const call = method == "scale" ? &standin::Scale : &standin::ScaleImageAndMask;
    return ResultOf(self, call(self, width, height, smooth, yield), name);
  }
  if (method == "scaling") {
    const int mode = Next<int>(words), width = Next<int>(words), height = Next<int>(words);
    return ResultOf(self, standin::Scaling(self, mode, width, height, Next<int>(words)), name);
  }
  if (method == "blur") {
    const double radius = NextReal(words);
    return ResultOf(self, standin::Blur(self, radius, Next<int>(words)), name);
  }
  if (method != "draw") throw std::runtime_error("no method " + method);
  const Ref source = NextPicture(words);
  const double x = NextReal(words), y = NextReal(words), opacity = NextReal(words);
  return standin::DrawPictureF(self, source, x, y, opacity, Next<int>(words)) ? "true" : "false";
}

std::string GuardedCall(const std::string& name, Words& words) {
  try {
    return CallMethod(name, words);
  } catch (const standin::RuntimeException& raised) {
    return std::string("raised ") + raised.what();
  } catch (const standin::ServiceException&) {
    return "thrown foreign";
  } catch (const std::bad_alloc&) {
    return "thrown bad_alloc";
  }
}

void RunScript() {
  ++gScript.yields;
  if (gScript.nth < 0 || gScript.running || (gScript.nth > 0 && gScript.yields != gScript.nth)) return;
  gScript.running = true;
  Words words(gScript.call);
  GuardedCall("nested", words);
  gScript.running = false;
}

std::string Call(Words& words) {
  const auto name = Next<std::string>(words);
  gScript.yields = 0;
  // Separate statements: the yields are counted while the call runs.
  std::string kind = GuardedCall(name, words);
  return kind + " " + std::to_string(gScript.yields);
}

std::string Shown(const Ref& picture) {
  if (!picture) return "-";
  std::string line = std::to_string(standin::Width(picture)) + " " +
                     std::to_string(standin::Height(picture)) + (standin::HasAlpha(picture) ? " 1" : " 0") +
                     (standin::PaddingIntact(picture) ? " 1 " : " 0 ");
  for (const std::uint32_t pixel : standin::GetPixels(picture)) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(pixel));
    line += digits;
  }
  return line;
}

std::string OneLine(std::string text) {
  if (text.empty()) return "balanced";
  std::replace(text.begin(), text.end(), '\n', ';');
  return text;
}

std::string Counts() {
  const auto& c = standin::CountedForFaults();
  std::ostringstream line;
  line << c.locks << ' ' << c.pictures << ' ' << c.instances << ' ' << c.allocations << ' ' << c.throwing
       << ' ' << c.struck;
  return line.str();
}

std::string Services() {
  std::map<std::string, int> calls;
  for (const auto& call : standin::Calls()) ++calls[call.service];
  std::string line;
  for (const auto& [service, count] : calls) line += service + "=" + std::to_string(count) + "\t";
  return line;
}

// The library's own sine: the C library's of 32-bit programs, stored as a double.
std::string Sines(Words& words) {
  std::string line, number;
  while (words >> number) {
    volatile double sine = std::sin(std::strtod(number.c_str(), nullptr));
    char text[40];
    std::snprintf(text, sizeof text, "%a ", sine);
    line += text;
  }
  return line;
}

void Reset() {
  standin::ClearFaults();
  gScript = {};
  gPictures.clear();
  standin::CurrentConfig().missingMethods.clear();
  standin::SetCallStackOffset(0);
  standin::ClearLog();
  standin::ResetPluginMemory();
}

std::string Rest(Words& words) {
  std::string rest;
  std::getline(words >> std::ws, rest);
  return rest;
}

// The answer to a command, empty for those that have none.
std::string Answer(const std::string& command, Words& words) {
  if (command == "call") return Call(words);
  if (command == "get") return Shown(NextPicture(words));
  if (command == "getmask") return Shown(standin::MaskOf(NextPicture(words)));
  if (command == "check") return OneLine(standin::CheckLedger());
  if (command == "counts") return Counts();
  if (command == "services") return Services();
  if (command == "sine") return Sines(words);
  throw std::runtime_error("no command " + command);
}

bool Silent(const std::string& command, Words& words) {
  if (command == "picture")
    MakePicture(words);
  else if (command == "mask") {
    const Ref picture = NextPicture(words);
    standin::SetMask(picture, NextPicture(words));
  } else if (command == "new")
    SetNewStores(words);
  else if (command == "without") {
    const std::string declaration = Rest(words);
    standin::CurrentConfig().missingMethods.clear();
    if (!declaration.empty()) standin::CurrentConfig().missingMethods.insert(declaration);
  } else if (command == "clock") {
    standin::SetClock(NextReal(words));
    standin::SetClockStep(NextReal(words));
  } else if (command == "stack")
    standin::SetCallStackOffset(Next<int>(words));
  else if (command == "faults")
    SetFaults(words);
  else if (command == "onyield") {
    gScript = {};
    if (words >> gScript.nth)
      gScript.call = Rest(words);
    else
      gScript.nth = -1;
  } else if (command == "reset")
    Reset();
  else
    return false;
  return true;
}

void Run(const char* library, const std::string& mode, const std::string& version) {
  standin::Config config;
  config.mode = mode == "console" ? standin::Mode::kConsole : standin::Mode::kCairo;
  config.version = version == "none" ? std::nullopt : std::optional<double>(std::stod(version));
  config.onYield = RunScript;
  standin::Start(config);
  standin::LoadPlugin(library);
  standin::EnableLog(true);
  Reset();
  std::cout << "ready" << std::endl;
  std::string line;
  while (std::getline(std::cin, line)) {
    Words words(line);
    try {
      const auto command = Next<std::string>(words);
      if (!Silent(command, words)) std::cout << Answer(command, words) << std::endl;
    } catch (const std::exception& error) {
      std::cout << "error " << error.what() << std::endl;
    }
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  try {
    Run(arguments[1], arguments[2], arguments[3]);
  } catch (const std::exception& error) {
    std::cout << "error " << error.what() << std::endl;
    return 1;
  }
  return 0;
}
