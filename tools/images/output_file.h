#ifndef PIXMORPH_TOOLS_IMAGES_OUTPUT_FILE_H_
#define PIXMORPH_TOOLS_IMAGES_OUTPUT_FILE_H_

#include <cstdio>
#include <string>

namespace tool {

// A file that comes into being whole: written under a temporary name in the same folder and renamed. Until
// Commit the destructor removes the temporary file, and so do SIGINT, SIGTERM and SIGHUP. One at a time.
// Devices and pipes are written as they are.
class OutputFile {
 public:
  // Throws Failure (kOutput) when `path` exists and may not be overwritten, is a folder, or lies in a folder
  // that can't be written. Nothing is created yet.
  OutputFile(const std::string& path, bool overwrite);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The file to write to; owned by this object. Throws Failure (kOutput).
  std::FILE* Open();
  // Closes the file and gives it its name. Throws Failure (kOutput), having removed the temporary file.
  void Commit();

 private:
  [[noreturn]] void Fail(int error) const;
  void OpenTemporary();

  std::string path_;
  bool overwrite_;
  bool direct_ = false;
  std::FILE* file_ = nullptr;
  std::string temporary_;  // empty: none exists
  unsigned mode_ = 0;      // permission bits of the finished file
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_OUTPUT_FILE_H_
