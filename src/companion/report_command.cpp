#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "companion/command.h"
#include "companion/report_reader.h"
#include "companion/terminal.h"

namespace qz::companion {
namespace {

constexpr int kUnreadable = 1;
constexpr std::size_t kPartBytes = 1 << 20;

struct options {
  std::vector<std::string> files;
  bool asJson = false;
};

struct tally {
  long reports = 0;
  long errors = 0;
  long forgiven = 0;
  long notPosted = 0;
};

char const* nameOf(found_report::posting message) {
  constexpr char const* kNames[] = {"yes", "no", "goes on", "unknown"};
  return kNames[message];
}

std::string numberOr(std::optional<int> number, char const* absent) {
  return number ? std::to_string(*number) : absent;
}

void printRow(found_report const& one) {
  auto const verdict = one.isError ? coloured(stdout, colour::red, "error  ")
                                   : coloured(stdout, colour::green, "good   ");
  std::printf("%-17s %s %11s %11s %6s %-8s %-6s %s%s%s\n", printable(one.time).c_str(),
              verdict.c_str(), numberOr(one.code, "-").c_str(), numberOr(one.frame, "-").c_str(),
              numberOr(one.jobThread, "-").c_str(), one.wasForgiven ? "yes" : "no",
              one.hasWaited ? "yes" : "no", nameOf(one.message), one.reason.empty() ? "" : ": ",
              printable(one.reason).c_str());
}

void printJson(found_report const& one, std::string const& file) {
  auto const orNull = [](std::optional<int> number) {
    return number ? nlohmann::ordered_json(*number) : nlohmann::ordered_json(nullptr);
  };
  nlohmann::ordered_json const line = {{"file", file},
                                       {"offset", one.offset},
                                       {"time", one.time},
                                       {"verdict", one.isError ? "error" : "good"},
                                       {"code", orNull(one.code)},
                                       {"frame", orNull(one.frame)},
                                       {"jobThread", orNull(one.jobThread)},
                                       {"forgiven", one.wasForgiven},
                                       {"waited", one.hasWaited},
                                       {"posted", nameOf(one.message)},
                                       {"reason", one.reason}};
  // A log may hold any bytes.
  std::printf("%s\n",
              line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

void printSummary(std::map<std::optional<int>, tally> const& byCode) {
  std::printf("\n%11s %9s %9s %9s %10s\n", "CODE", "REPORTS", "ERRORS", "FORGIVEN", "NOT POSTED");
  for (auto const& [code, sums] : byCode)
    std::printf("%11s %9ld %9ld %9ld %10ld\n", numberOr(code, "-").c_str(), sums.reports,
                sums.errors, sums.forgiven, sums.notPosted);
  if (byCode.empty()) std::printf("no report was found\n");
}

// Returns 0 or the number of the error.
int readAll(int input, report_reader& reader, std::vector<char>& buffer) {
  std::size_t held = 0;
  for (;;) {
    ssize_t const got = read(input, buffer.data() + held, buffer.size() - held);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno;
    if (got == 0) break;
    held += static_cast<std::size_t>(got);
    std::size_t used = reader.feed({buffer.data(), held});
    if (used == 0 && held == buffer.size()) {  // one line fills it all
      used = held - report_reader::kTailBytes;
      reader.skip(used);
    }
    held -= used;
    std::memmove(buffer.data(), buffer.data() + used, held);
  }
  reader.finish({buffer.data(), held});
  return 0;
}

int readFile(std::string const& file, std::function<void(found_report const&)> const& take,
             std::vector<char>& buffer) {
  int const input = file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (input < 0) return errno;
  report_reader reader(take);
  int const cause = readAll(input, reader, buffer);
  if (input != STDIN_FILENO) (void)close(input);  // nothing was written
  return cause;
}

int run(options const& chosen) {
  auto const files = chosen.files.empty() ? std::vector<std::string>{"-"} : chosen.files;
  std::map<std::optional<int>, tally> byCode;
  std::vector<char> buffer(kPartBytes);
  int status = 0;
  if (!chosen.asJson)
    std::printf("%-17s %-7s %11s %11s %6s %-8s %-6s %s\n", "TIME", "VERDICT", "CODE", "FRAME",
                "THREAD", "FORGIVEN", "WAITED", "POSTED");
  for (auto const& file : files) {
    if (!chosen.asJson && files.size() > 1) std::printf("%s:\n", file.c_str());
    auto const take = [&](found_report const& one) {
      tally& sums = byCode[one.code];
      ++sums.reports;
      sums.errors += one.isError;
      sums.forgiven += one.wasForgiven;
      sums.notPosted += one.message == found_report::not_posted;
      if (chosen.asJson)
        printJson(one, file);
      else
        printRow(one);
    };
    if (int const cause = readFile(file, take, buffer); cause != 0) {
      complain("can't read '" + file + "': " + std::strerror(cause));
      status = kUnreadable;
    }
  }
  if (!chosen.asJson) printSummary(byCode);
  return status;
}

}  // namespace

command addReport(CLI::App& program) {
  auto const chosen = std::make_shared<options>();
  CLI::App* const parser =
      program.add_subcommand("report", "Find the framed reports in job logs, as a table");
  parser->add_option("FILE", chosen->files, "Job logs; standard input without one, or for '-'");
  parser->add_flag("--json", chosen->asJson, "Print one JSON object for each report, no summary");
  parser->footer(
      "POSTED tells whether the client got the message: yes, no with the reason, or unknown if "
      "the\n"
      "report has no end. A '-' as CODE is a report of a wrong argument.\n"
      "Exit status: 1 if a file can't be read.\n"
      "Example: zcat logs/*.gz | qzframe report");
  return {parser, [chosen] { return run(*chosen); }};
}

}  // namespace qz::companion
