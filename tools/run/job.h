#ifndef PIXMORPH_TOOLS_RUN_JOB_H_
#define PIXMORPH_TOOLS_RUN_JOB_H_

#include <cstdint>
#include <functional>
#include <string>

#include "standin/objects.h"
#include "tools/images/image.h"
#include "tools/images/image_file.h"
#include "tools/run/call.h"
#include "tools/run/fields.h"
#include "tools/run/options.h"
#include "tools/run/session.h"

namespace tool {

// What one run of one method is about; the texts go into the report as they are.
struct Request {
  std::string command;
  std::string method;  // "ScaleKTZ" and so on
  std::string input;   // the picture that the method is about
  std::string output;  // not used by a job whose output is told later
  Fields parameters;
};

// One run of one method, from file to file. Every step throws Failure.
class Job {
 public:
  // Checks the output before any work, and that the library has the method. The session outlives the job.
  Job(const Options& options, const Session& session, Request request);

  // The same for an output that is known only once the input has been read: call DirectTo before Finish.
  struct OutputLater {};
  Job(const Options& options, const Session& session, Request request, OutputLater);

  // Takes the output and checks it.
  void DirectTo(const std::string& output);

  // Reads a file; the time counts as reading.
  Image Read(const std::string& path);

  // Runs the method on behalf of a source of that size. Nil becomes a Failure (kMethod).
  standin::Ref Call(const Size& source, std::int64_t yieldPoints,
                    const std::function<standin::Ref(int)>& method);

  // The same for a method that answers with a boolean; false becomes a Failure (kMethod) that gives `reason`.
  void CallInPlace(const Size& source, std::int64_t yieldPoints, const std::string& reason,
                   const std::function<bool(int)>& method);

  // Writes the result and reports the run: one line, or with --json one object.
  void Finish(const Image& result);

  // One sentence for people, on stderr, unless --quiet or --json.
  void Note(const std::string& sentence) const;

 private:
  // One JSON object.
  std::string Report(const Image& result) const;

  Options options_;
  Request request_;
  FileFormat format_ = FileFormat::kPng;
  double startMs_;
  Size source_;
  Measurement measured_;
  double readMs_ = 0;
  double writeMs_ = 0;
};

// Where reports go: stdout, or stderr when the picture itself goes to stdout.
void PrintReport(const std::string& line, const std::string& output);

// A JSON object of these fields. [pure]
std::string JsonText(const Fields& fields);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_JOB_H_
