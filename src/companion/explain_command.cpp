#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "companion/command.h"
#include "companion/exit_codes.h"
#include "companion/terminal.h"
#include "tool/verdict.h"

namespace qz::companion {
namespace {

struct options {
  std::string code;
  bool asJson = false;
};

// The lines that the check will write, without frame and header.
std::vector<std::string> linesOfCheck(int code) {
  using namespace detail;
  std::vector<std::string> lines = {returnedLine(code, kNotGiven, 0).asChar()};
  if (code == 0) return lines.push_back("Executable finished"), lines;
  error_words words = wordsOfError(code);
  if (words.hint.hasData())
    lines.push_back(
        std::string(words.hint.asChar()) +
        (words.systemText.hasData() ? std::string("  ") + words.systemText.asChar() : ""));
  lines.push_back(words.closing);
  return lines;
}

std::string hexText(int code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(code));
  return text;
}

void printJson(int code, std::vector<reading> const& readings) {
  nlohmann::ordered_json all = {{"code", code},
                                {"unsigned", static_cast<unsigned>(code)},
                                {"hex", hexText(code)},
                                {"isError", code != 0},
                                {"check", linesOfCheck(code)},
                                {"readings", nlohmann::ordered_json::array()}};
  for (reading const& one : readings)
    all["readings"].push_back(
        {{"source", one.source}, {"name", one.name}, {"meaning", one.meaning}});
  if (code != 0) all["forgive"] = "ignore=" + std::to_string(code);
  std::printf("%s\n", all.dump(2).c_str());
}

void printText(int code, std::vector<reading> const& readings) {
  std::printf("%s", coloured(stdout, colour::bold, std::to_string(code)).c_str());
  if (code < 0) std::printf(" = %u", static_cast<unsigned>(code));
  std::printf(" = %s\n\nThe check writes:\n", hexText(code).c_str());
  colour const verdict = code == 0 ? colour::green : colour::red;
  for (auto const& line : linesOfCheck(code))
    std::printf("  %s\n", coloured(stdout, verdict, line).c_str());

  std::printf("\nIt can mean:\n");
  for (reading const& one : readings)
    std::printf("  %s%s%s: %s\n", one.source.c_str(), one.name.empty() ? "" : ", ",
                one.name.c_str(), one.meaning.c_str());
  if (readings.empty())
    std::printf("  nothing that systems agree on: see the application's own manual\n");
  if (code != 0) std::printf("\nTo count it as success, pass: ignore=%d\n", code);
}

int run(options const& chosen) {
  auto const code = parseExitCode(chosen.code);
  if (!code) {
    complain("'" + chosen.code +
             "' is not an exit code: give a decimal or hexadecimal number of "
             "32 bits");
    return kUsageStatus;
  }
  auto const readings = readingsOf(*code);
  if (chosen.asJson)
    printJson(*code, readings);
  else
    printText(*code, readings);
  return 0;
}

}  // namespace

command addExplain(CLI::App& program) {
  auto const chosen = std::make_shared<options>();
  CLI::App* const parser =
      program.add_subcommand("explain", "Say what an exit code means and what the check writes");
  parser->add_option("CODE", chosen->code, "Decimal, of either sign, or 0x and hexadecimal digits")
      ->required();
  parser->add_flag("--json", chosen->asJson, "Print JSON");
  parser->footer("Example: qzframe explain 137");
  return {parser, [chosen] { return run(*chosen); }};
}

}  // namespace qz::companion
