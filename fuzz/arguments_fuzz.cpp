// The tool's command line, one argument a line, beside the rules read off the manual page; then the
// verdict and its report.
//
// A percent sign becomes another character: what is reported is the format of printf, and that is
// how it stays (README.md, Limits).
#include "tool/arguments.h"

#include <strings.h>

#include "fuzz/input.h"
#include "tool/verdict.h"

namespace {

using qz::detail::run_state;
using arguments = std::vector<std::string>;

bool isNumber(std::string const& text) {
  std::size_t const start = !text.empty() && text[0] == '-' ? 1 : 0;
  return text.find_first_not_of("0123456789", start) == std::string::npos;
}

std::string upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return text;
}

bool isIgnore(std::string const& text) { return upper(text.substr(0, 7)) == "IGNORE="; }

// Every "ignore=" goes, not only the one in front.
std::string withoutIgnore(std::string text) {
  std::size_t at = 0;
  while ((at = upper(text).find("IGNORE=", at)) != std::string::npos) text.erase(at, 7);
  return text;
}

struct expected_run {
  long long exitCode = -30000, instance = 255, thread = 0, frame = -30000;
  std::vector<int> ignored;
  std::string process;
  bool goesOn = true;
};

expected_run read(arguments const& all) {
  expected_run run;
  std::size_t const first = all.size() > 1 && strcasecmp(all[1].c_str(), "-qzRoot") == 0 ? 3 : 1;
  auto const cut = [&](std::size_t i) { return all[i].substr(0, 250); };
  auto const value = [&](std::size_t i) { return std::strtoll(cut(i).c_str(), nullptr, 10); };
  long long* const targets[] = {&run.exitCode, &run.instance, &run.thread, &run.frame};
  for (std::size_t i = 0; i < 4; ++i) {
    if (first + i >= all.size()) return run;
    if (isNumber(cut(first + i)))
      *targets[i] = i == 3 ? value(first + i) : static_cast<int>(value(first + i));
    else if (i >= 2)
      return run.goesOn = false, run;
  }
  for (std::size_t i = first + 4; i < all.size(); ++i) {
    if (!isIgnore(cut(i))) {
      run.process = upper(cut(i).substr(0, 25));
      continue;
    }
    std::string const code = withoutIgnore(cut(i));
    if (!isNumber(code)) return run.goesOn = false, run;
    if (run.ignored.size() < 15)
      run.ignored.push_back(static_cast<int>(std::strtoll(code.c_str(), nullptr, 10)));
  }
  if (all.size() > first + 4) run.process = upper(cut(first + 4).substr(0, 25));
  return run;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  expect(std::freopen("/dev/null", "w", stdout) != nullptr);
  setenv("TZ", "UTC0", 1);
  return 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  std::string text = in.rest();
  std::replace(text.begin(), text.end(), '%', '#');
  std::replace(text.begin(), text.end(), '\0', '0');
  arguments all = {"qzCheckExitcode"};
  for (std::size_t start = 0, end; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    all.push_back(text.substr(start, end - start));
  }
  std::vector<std::vector<char>> memory;
  std::vector<char const*> argv;
  for (std::string const& each : all) memory.push_back(exactly(each + '\0'));
  for (auto const& each : memory) argv.push_back(each.data());
  argv.push_back(nullptr);

  run_state run;
  bool const goesOn = readArguments(static_cast<int>(all.size()), argv.data(), run);
  expected_run const expected = read(all);
  expect(goesOn == expected.goesOn);
  expect(run.exitCode == expected.exitCode && run.renderInstance == expected.instance);
  expect(run.jobThreadId == expected.thread && run.frameNumber == expected.frame);
  expect(std::vector<int>(run.ignoreCodes, run.ignoreCodes + run.ignoreCount) == expected.ignored);
  if (!goesOn) return 0;
  expect(run.renderProcessName.asChar() == expected.process);

  judge(run);
  auto const& ignored = expected.ignored;
  bool const isForgiven = std::find(ignored.begin(), ignored.end(), run.exitCode) != ignored.end();
  expect(run.isError == (run.exitCode != 0 && !isForgiven));
  writeVerdict(run);
  return 0;
}
