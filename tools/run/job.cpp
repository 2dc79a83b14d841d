#include "tools/run/job.h"

#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "tools/failure.h"

namespace tool {
namespace {

// Thousandths are all that a clock of the system is worth.
double Rounded(double milliseconds) { return std::round(milliseconds * 1000) / 1000; }

long PeakMemoryKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

nlohmann::ordered_json SizeReport(const Size& size) {
  return {{"width", size.width}, {"height", size.height}};
}

nlohmann::ordered_json ToJson(const Fields& fields) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const Field& field : fields)
    std::visit([&](const auto& value) { json[field.first] = value; }, field.second);
  return json;
}

std::string ShownName(const std::string& path, const char* stream) {
  return path == kStandardStream ? stream : path;
}

}  // namespace

Job::Job(const Options& options, const Session& session, Request request, OutputLater)
    : options_(options), request_(std::move(request)), startMs_(NowMs()) {
  RequireMethod(request_.method, session);
}

Job::Job(const Options& options, const Session& session, Request request)
    : Job(options, session, std::move(request), OutputLater()) {
  DirectTo(request_.output);
}

void Job::DirectTo(const std::string& output) {
  format_ = FormatFor(output, options_.format);
  CheckOutput(output, options_.force);
  request_.output = output;
}

Image Job::Read(const std::string& path) {
  const double begun = NowMs();
  Image image = ReadImage(path);
  readMs_ += NowMs() - begun;
  return image;
}

standin::Ref Job::Call(const Size& source, std::int64_t yieldPoints,
                       const std::function<standin::Ref(int)>& method) {
  source_ = source;
  standin::Ref result;
  measured_ =
      Measure({request_.method, yieldPoints, [&](int interval) { result = method(interval); }}, options_);
  if (!result)
    throw Failure(Exit::kMethod, request_.method + " gave no picture for " +
                                     ShownName(request_.input, "stdin") + " (" + ToText(source) +
                                     "): try another --mode, or a smaller picture");
  return result;
}

void Job::CallInPlace(const Size& source, std::int64_t yieldPoints, const std::string& reason,
                      const std::function<bool(int)>& method) {
  source_ = source;
  bool done = false;
  measured_ =
      Measure({request_.method, yieldPoints, [&](int interval) { done = method(interval); }}, options_);
  if (!done) throw Failure(Exit::kMethod, request_.method + " refused: " + reason);
}

void Job::Finish(const Image& result) {
  if (result.hasAlpha && format_ == FileFormat::kJpeg)
    Note("JPEG has no transparency: the result is laid over white");
  const double begun = NowMs();
  WriteImage(request_.output, format_, result, options_.quality, options_.force);
  writeMs_ = NowMs() - begun;
  if (options_.json) {
    PrintReport(Report(result), request_.output);
  } else if (!options_.quiet) {
    char time[32];
    std::snprintf(time, sizeof time, "%.1f ms", measured_.methodMs);
    PrintReport(ShownName(request_.input, "stdin") + " " + ToText(source_) + " -> " +
                    ShownName(request_.output, "stdout") + " " + ToText(result.size) + ": " +
                    request_.method + ", " + NameOf(options_.mode) + ", " + time,
                request_.output);
  }
}

void Job::Note(const std::string& sentence) const {
  if (!options_.quiet && !options_.json) std::fprintf(stderr, "pixmorph: note: %s\n", sentence.c_str());
}

std::string Job::Report(const Image& result) const {
  nlohmann::ordered_json report;
  report["command"] = request_.command;
  report["method"] = request_.method;
  report["parameters"] = ToJson(request_.parameters);
  report["input"] = request_.input;
  report["output"] = request_.output;
  report["source"] = SizeReport(source_);
  report["result"] = SizeReport(result.size);
  report["result"]["alpha"] = result.hasAlpha;
  report["result"]["checksum"] = Checksum(result);
  report["mode"] = NameOf(options_.mode);
  if (options_.hostVersion)
    report["hostVersion"] = *options_.hostVersion;
  else
    report["hostVersion"] = nullptr;
  report["yield"] = measured_.interval;
  report["yields"] = measured_.yields;
  report["longestGapMs"] = Rounded(measured_.longestGapMs);
  report["times"] = {{"readMs", Rounded(readMs_)},
                     {"methodMs", Rounded(measured_.methodMs)},
                     {"writeMs", Rounded(writeMs_)},
                     {"totalMs", Rounded(NowMs() - startMs_)}};
  report["peakMemoryKiB"] = PeakMemoryKiB();
  return report.dump();
}

void PrintReport(const std::string& line, const std::string& output) {
  std::FILE* stream = output == kStandardStream ? stderr : stdout;
  std::fprintf(stream, "%s\n", line.c_str());
}

std::string JsonText(const Fields& fields) { return ToJson(fields).dump(); }

}  // namespace tool
