#include "tools/images/image_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/failure.h"
#include "tools/images/formats.h"
#include "tools/images/output_file.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

// Far above any picture that fits, and keeps an endless input from filling the memory.
constexpr std::size_t kLargestFileBytes = std::size_t{1} << 30;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void CantRead(const std::string& name, int error) {
  const char* wayOut = error == ENOENT   ? ": check the name"
                       : error == EACCES ? ": check its permissions"
                       : error == EISDIR ? ": name a file in it"
                                         : ": check the disk it lies on";
  throw Failure(Exit::kInput, "can't read " + name + " (" + std::strerror(error) + ")" + wayOut);
}

FileBytes ReadAll(const std::string& name, std::FILE* file) {
  FileBytes bytes;
  std::size_t used = 0;
  do {
    bytes.resize(used + std::max<std::size_t>(used, 1 << 16));
    used += std::fread(bytes.data() + used, 1, bytes.size() - used, file);
    if (std::ferror(file)) CantRead(name, errno);
    if (used > kLargestFileBytes)
      throw Failure(Exit::kMemory,
                    name + " is longer than 1 GiB, too long for a 32-bit process: reduce it first");
  } while (used == bytes.size());
  bytes.resize(used);
  return bytes;
}

FileBytes ReadFile(const std::string& path, const std::string& name) {
  if (path == kStandardStream) return ReadAll(name, stdin);
  const OwnedFile file(std::fopen(path.c_str(), "rb"));
  if (!file) CantRead(name, errno);
  struct stat status {};
  if (fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) CantRead(name, EISDIR);
  return ReadAll(name, file.get());
}

std::string ExtensionOf(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  const std::size_t slash = path.rfind('/');
  if (dot == path.npos || (slash != path.npos && dot < slash)) return "";
  return FoldName(path.substr(dot + 1));
}

}  // namespace

Image ReadImage(const std::string& path) {
  const std::string name = path == kStandardStream ? "the standard input" : "\"" + path + "\"";
  const FileBytes bytes = ReadFile(path, name);
  if (LooksLikePng(bytes)) return DecodePng(name, bytes);
  if (LooksLikeJpeg(bytes)) return DecodeJpeg(name, bytes);
  if (bytes.empty()) throw Failure(Exit::kFormat, name + " is empty: get a whole copy of it");
  throw Failure(Exit::kFormat, name + " is neither a PNG nor a JPEG file: convert it to one of these first");
}

FileFormat FormatFor(const std::string& path, const std::string& named) {
  if (named.empty() && path == kStandardStream) return FileFormat::kPng;
  const std::string wanted = named.empty() ? ExtensionOf(path) : FoldName(named);
  if (wanted == "png") return FileFormat::kPng;
  if (wanted == "jpg" || wanted == "jpeg" || wanted == "jpe") return FileFormat::kJpeg;
  throw Failure(Exit::kUsage, "can't tell the format of \"" + path +
                                  "\": end the name in .png or .jpg, or say --format png or --format jpeg");
}

void CheckOutput(const std::string& path, bool overwrite) {
  if (path != kStandardStream) OutputFile(path, overwrite);
}

void WriteImage(const std::string& path, FileFormat format, const Image& image, int quality, bool overwrite) {
  const auto encode = [&](const std::string& name, std::FILE* file) {
    if (format == FileFormat::kPng) EncodePng(name, file, image);
    if (format == FileFormat::kJpeg) EncodeJpeg(name, file, image, quality);
  };
  if (path == kStandardStream) {
    encode("the standard output", stdout);
    if (std::fflush(stdout) != 0)
      throw Failure(Exit::kOutput, std::string("can't write the standard output: ") + std::strerror(errno));
    return;
  }
  OutputFile output(path, overwrite);
  encode("\"" + path + "\"", output.Open());
  output.Commit();
}

}  // namespace tool
