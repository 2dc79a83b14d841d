#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>

#include "tools/commands/commands.h"
#include "tools/commands/method.h"
#include "tools/failure.h"
#include "tools/parsing/name_pattern.h"

namespace tool {
namespace {

struct BatchArguments {
  std::vector<std::string> inputs;
  std::string pattern;
  bool makeFolders = false;
};

// One text for all names of the same file, whether it exists or not.
std::string Identity(const std::string& path) {
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::weakly_canonical(path, error);
  return error ? path : whole.string();
}

class Batch {
 public:
  // All outlive the batch.
  Batch(const BatchArguments& arguments, const Method& method, const Options& options, const Session& session)
      : arguments_(arguments),
        method_(method),
        options_(options),
        session_(session),
        pattern_(NamePattern::Parse(arguments.pattern)) {
    RequireMethod(method.name, session);
    for (const std::string& input : arguments.inputs) {
      if (input == kStandardStream)
        throw Failure(Exit::kUsage,
                      "a batch takes files only: \"pixmorph " + method.command + "\" reads stdin");
      inputs_.insert(Identity(input));
    }
    if (!pattern_.NeedsSize()) ClaimAll();
  }

  // Throws the first failure's code once all files have had their turn.
  void Run() {
    for (std::size_t i = 0; i < arguments_.inputs.size(); ++i) {
      try {
        RunOne(i);
        ++done_;
      } catch (const Failure& failure) {
        NoteFailure(arguments_.inputs[i], failure);
      } catch (const std::bad_alloc&) {
        NoteFailure(
            arguments_.inputs[i],
            Failure(Exit::kMemory, "\"" + arguments_.inputs[i] +
                                       "\" does not fit into a 32-bit process: take a smaller picture"));
      }
    }
    Summarise();
  }

 private:
  std::string OutputFor(std::size_t index, const Size& size) const {
    return pattern_.Expand({arguments_.inputs[index], index + 1, arguments_.inputs.size(), size});
  }

  // Names that don't depend on sizes are judged together, before anything is written.
  void ClaimAll() {
    for (std::size_t i = 0; i < arguments_.inputs.size(); ++i) Claim(OutputFor(i, {}), arguments_.inputs[i]);
    claimed_.clear();
  }

  // No output may replace another one's, or an input that is still to be read.
  void Claim(const std::string& output, const std::string& input) {
    if (output == kStandardStream)
      throw Failure(Exit::kUsage, "a batch writes files only: give --output a name such as small/{name}.png");
    const std::string identity = Identity(output);
    const auto [other, isNew] = claimed_.emplace(identity, input);
    if (!isNew)
      throw Failure(Exit::kUsage, "\"" + other->second + "\" and \"" + input + "\" would both become \"" +
                                      output + "\": tell them apart with {n} or {ext} in --output");
    if (identity != Identity(input) && inputs_.count(identity) != 0)
      throw Failure(Exit::kUsage, "\"" + output + "\" is itself one of the inputs: choose another --output");
  }

  void MakeFolderOf(const std::string& output) const {
    const std::filesystem::path folder = std::filesystem::path(output).parent_path();
    std::error_code error;
    if (folder.empty() || std::filesystem::is_directory(folder, error)) return;
    if (!arguments_.makeFolders)
      throw Failure(Exit::kOutput, "there is no folder \"" + folder.string() + "\": make it, or say --mkdir");
    std::filesystem::create_directories(folder, error);
    if (error)
      throw Failure(Exit::kOutput, "can't make the folder \"" + folder.string() + "\" (" + error.message() +
                                       "): name one that can be made");
  }

  void RunOne(std::size_t index) {
    const std::string& input = arguments_.inputs[index];
    Job job(options_, session_, {method_.command, method_.name, input, "", method_.parameters},
            Job::OutputLater());
    const Image source = job.Read(input);
    const std::string output = OutputFor(index, method_.sizeFor(source.size));
    Claim(output, input);
    MakeFolderOf(output);
    job.DirectTo(output);
    job.Finish(method_.run(job, session_, source));
  }

  void NoteFailure(const std::string& input, const Failure& failure) {
    std::fprintf(stderr, "pixmorph: %s\n", failure.what());
    if (options_.json) {
      const Fields row = {{"command", method_.command},
                          {"input", input},
                          {"error", failure.what()},
                          {"exitCode", static_cast<int>(failure.Code())}};
      std::printf("%s\n", JsonText(row).c_str());
    }
    if (!first_) first_ = failure;
  }

  void Summarise() const {
    const auto count = static_cast<int>(arguments_.inputs.size());
    if (options_.json) {
      const int code = static_cast<int>(first_ ? first_->Code() : Exit::kOk);
      const Fields row = {{"command", "batch"},
                          {"files", count},
                          {"done", done_},
                          {"failed", count - done_},
                          {"exitCode", code}};
      std::printf("%s\n", JsonText(row).c_str());
    } else if (!options_.quiet) {
      std::printf("%d of %d files done\n", done_, count);
    }
    if (first_)
      throw Failure(first_->Code(), std::to_string(count - done_) + " of " + std::to_string(count) +
                                        " files failed: see above");
  }

  const BatchArguments& arguments_;
  const Method& method_;
  const Options& options_;
  const Session& session_;
  NamePattern pattern_;
  std::set<std::string> inputs_;
  std::map<std::string, std::string> claimed_;  // an output's identity and the input that it is made from
  int done_ = 0;
  std::optional<Failure> first_;
};

std::function<void()> DefineOne(Arguments& list, Options& options, MethodMaker (*define)(Arguments&)) {
  auto arguments = std::make_shared<BatchArguments>();
  list.Positionals("FILE", &arguments->inputs, "PNG or JPEG files");
  list.Text("--output", "PATTERN", &arguments->pattern, Arguments::Need::kRequired,
            "names of the results, such as 'thumbs/{name}-{width}x{height}.png'; also {ext} and {n}");
  list.Flag("--mkdir", &arguments->makeFolders, "make the folders of the results");
  return [arguments, make = define(list), &options] {
    const Method method = make(options);
    NamePattern::Parse(arguments->pattern);
    const Session session(options);
    Batch(*arguments, method, options, session).Run();
  };
}

struct BatchMethod {
  const char* name;
  const char* help;
  MethodMaker (*define)(Arguments& list);
};

constexpr BatchMethod kMethods[] = {
    {"scale", "resize by area averaging, or smoothly (ScaleKTZ)", DefineScaleMethod},
    {"scale-mask", "the same with transparency (ScaleImageAndMaskKTZ)", DefineScaleMaskMethod},
    {"resample", "resize with one of seven kernels (ScalingKTZ)", DefineResampleMethod},
    {"blur", "box blur (BlurKTZ)", DefineBlurMethod},
    {"draw", "draw one picture onto each (DrawPictureFKTZ)", DefineDrawMethod},
};

}  // namespace

std::function<void()> DefineBatch(Arguments& list, Options& options) {
  auto chosen = std::make_shared<std::function<void()>>();
  for (const BatchMethod& method : kMethods) {
    const auto define = [&](Arguments& nested) { return DefineOne(nested, options, method.define); };
    list.Nested(method.name, method.help, options, define, chosen.get());
  }
  return [chosen] { (*chosen)(); };
}

}  // namespace tool
