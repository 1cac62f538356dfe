// qzframe: what a render wrangler and a pipeline TD need beside the exit-code check.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <vector>

#include "companion/command.h"
#include "companion/terminal.h"
#include "tool/report.h"

namespace {

constexpr int kFailed = 1;

// Where the command of `run` begins: behind the first "--". CLI11 never sees it, for it would take
// an argument such as "[a,b]" apart.
int endOfOptions(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "run") != 0) return argc;
  auto const isMark = [](char const* word) { return std::strcmp(word, "--") == 0; };
  return static_cast<int>(std::find_if(argv, argv + argc, isMark) - argv);
}

int runProgram(int argc, char** argv) {
  using namespace qz::companion;
  int const end = endOfOptions(argc, argv);
  std::vector<std::string> words(argv + std::min(end + 1, argc), argv + argc);
  CLI::App program{
      "Stands beside qzCheckExitcode: launches renders, looks into the client's block,\n"
      "explains exit codes, waits and reports.",
      "qzframe"};
  program.set_version_flag("--version", std::string("qzframe") + qzVersion);
  program.require_subcommand(1);
  program.footer("qzframe COMMAND --help tells about a command.");
  std::vector<command> const commands = {addRun(program, std::move(words)), addBlock(program),
                                         addExplain(program), addWhy(program), addReport(program)};
  try {
    program.parse(end, argv);
  } catch (CLI::Success const& asked) {  // help or version
    return program.exit(asked);
  } catch (CLI::ParseError const& wrong) {
    complain(std::string(wrong.what()) + " (try --help)");
    return kUsageStatus;
  }
  for (command const& one : commands)
    if (one.parser->parsed()) {
      int const status = one.run();
      if (std::fflush(stdout) == 0) return status;
      complain(std::string("the output can't be written: ") + std::strerror(errno));
      return status == 0 ? kFailed : status;
    }
  return kUsageStatus;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return runProgram(argc, argv);
  } catch (std::exception const& failure) {  // no memory
    qz::companion::complain(failure.what());
    return kFailed;
  }
}
