// Lets every system call of the tool, of the lock file, of the copy and of the log line fail once,
// at each place where it is made and with each errno that its manual page tells, and checks what
// then must hold. Prints what a user sees as a table in Markdown. See scripts/faults.
#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "faults/scenes.h"
#include "node/own_node.h"

namespace faults {
namespace {

int violations = 0;
std::string folder;  // of this run, and removed with it

struct row {
  std::string call, sees;
  std::vector<std::string> scenes, errors;
};
using table = std::vector<row>;

int faultCount = 0;

void addOnce(std::vector<std::string>& list, std::string const& text) {
  if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
}

std::string joined(std::vector<std::string> const& list) {
  std::string text;
  for (auto const& item : list) text += (text.empty() ? "" : ", ") + item;
  return text;
}

void note(table& rows, std::string const& what, std::string const& scene, fault const& injected,
          std::string const& sees) {
  auto found = std::find_if(rows.begin(), rows.end(), [&](row const& known) {
    return known.call == what && known.sees == sees;
  });
  if (found == rows.end()) found = rows.insert(rows.end(), {what, sees, {}, {}});
  addOnce(found->scenes, scene);
  addOnce(found->errors, errorName(injected.error));
}

void complain(scene const& one, call const& place, fault const& injected, std::string const& what) {
  ++violations;
  std::fprintf(stderr, "%s: %s %s, number %d, %s: %s\n", one.name, place.name.c_str(),
               place.target.c_str(), place.nth, errorName(injected.error).c_str(), what.c_str());
}

// What a row says of the place. Where nobody sees anything, the call alone tells enough.
std::string describe(call const& place, bool isStart, std::string const& sees) {
  std::string text = "`" + place.name + "`";
  std::string file = replaced(place.target, folder + ".zone", "the time zone");
  file = replaced(file, folder + "/", "the file ");
  if (isStart) return text + " in the start of the C library";
  if (sees.empty() || file.empty()) return text;
  if (place.number == SYS_shmget || place.number == SYS_shmctl) return text + " " + file;
  return text + (place.number == SYS_write ? " to " : " of ") + file;
}

// Each place in turn with each errno, or in the short form with one of them.
void runScene(scene const& one, table& rows, bool isTool, bool isShort) {
  outcome const clean = one.run({});
  if (!clean.sees.empty() || !clean.broken.empty())
    complain(one, {}, {}, "without a fault: " + clean.sees + " / " + clean.broken);
  std::size_t turn = 0;
  for (call const& place : clean.run.calls) {
    auto const* const errnos = errnosOf(place);
    if (errnos == nullptr) {
      complain(one, place, {}, "no errno is known for this call");
      continue;
    }
    ++turn;
    for (std::size_t i = 0; i < errnos->size(); ++i) {
      if (isShort && i != turn % errnos->size()) continue;
      fault const injected = {place.number, place.nth, (*errnos)[i]};
      outcome got = one.run(injected);
      ++faultCount;
      if (place.number == SYS_clock_nanosleep) add(got.sees, "the sleep is cut short");
      if (!got.run.wasDelivered) complain(one, place, injected, "the call did not come");
      if (!got.broken.empty()) complain(one, place, injected, got.broken);
      bool const isStart = isTool && isInStart(clean.run, injected);
      note(rows, describe(place, isStart, got.sees), one.name, injected, got.sees);
    }
  }
}

void print(table const& rows) {
  std::printf("| Call | errno | In | What the user sees |\n|---|---|---|---|\n");
  for (row const& line : rows)
    std::printf("| %s | %s | %s | %s |\n", line.call.c_str(), joined(line.errors).c_str(),
                joined(line.scenes).c_str(), line.sees.empty() ? "nothing" : line.sees.c_str());
}

int runAll(char const* tool, bool isShort) {
  auto const started = std::chrono::steady_clock::now();
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);  // a large block is always mapped, whatever came before
  folder = node::makeScratchFolder();
  std::string const zone = folder + ".zone";
  writeFile(zone, zoneFile());
  setenv("TZ", (":" + zone).c_str(), 1);

  table ofTool, ofFiles;
  for (auto const& one : toolScenes(tool)) runScene(one, ofTool, true, isShort);
  for (auto const& one : fileScenes(folder)) runScene(one, ofFiles, false, isShort);
  std::filesystem::remove_all(folder);
  std::filesystem::remove(zone);

  std::printf("The tool:\n\n");
  print(ofTool);
  std::printf("\nThe library's lock file, copy and log line:\n\n");
  print(ofFiles);
  std::printf("\n%d faults, %d violations.\n", faultCount, violations);
  std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - started;
  std::fprintf(stderr, "%d faults in %.0f s, %d violations\n", faultCount, taken.count(),
               violations);
  return violations == 0 ? 0 : 1;
}

}  // namespace

void add(std::string& text, std::string const& more) {
  if (!text.empty() && !more.empty()) text += "; ";
  text += more;
}

void writeFile(std::string const& path, std::string const& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string replaced(std::string text, std::string const& from, std::string const& to) {
  for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
       at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace faults

int main(int argc, char** argv) {
  bool const isShort = argc == 3 && std::strcmp(argv[1], "--short") == 0;
  if (argc != 2 && !isShort) {
    std::fprintf(stderr, "Usage: fault_runner [--short] TOOL\n");
    return 2;
  }
  char const* const tool = argv[argc - 1];
  if (access(tool, X_OK) != 0) {
    std::perror(tool);
    return 2;
  }
  return node::awaitNode(node::startNode([&] { return faults::runAll(tool, isShort); }));
}
