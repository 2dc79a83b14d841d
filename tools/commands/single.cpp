#include <memory>

#include "tools/commands/method.h"

namespace tool {
namespace {

struct Files {
  std::string input, output;
};

void RunSingle(const Files& files, const MethodMaker& make, const Options& options) {
  const Method method = make(options);
  const Session session(options);
  Job job(options, session, {method.command, method.name, files.input, files.output, method.parameters});
  const Image source = job.Read(files.input);
  job.Finish(method.run(job, session, source));
}

}  // namespace

std::function<void()> DefineSingle(Arguments& list, Options& options,
                                   MethodMaker (*define)(Arguments& list)) {
  auto files = std::make_shared<Files>();
  list.Positional("IN", &files->input, "a PNG or JPEG file, - for stdin");
  list.Positional("OUT", &files->output, "where to write, - for stdout");
  return [files, make = define(list), &options] { RunSingle(*files, make, options); };
}

}  // namespace tool
