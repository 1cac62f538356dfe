#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "companion/command.h"
#include "companion/terminal.h"
#include "process/proc_text.h"
#include "tool/waiting.h"

namespace qz::companion {
namespace {

using record = _qzProcessList::_prcInfo;
using name_text = _qzString8_allSize<25>;

constexpr int kWaits = 0;
constexpr int kDoesNotWait = 1;
constexpr int kNoList = 3;
constexpr int kKernelNameBytes = 15;

std::string told(record const& one) {
  return std::to_string(one.pid) + " (" + printable(one.name.asChar()) + ")";
}

record const* recordOf(_qzProcessList const& list, unsigned pid) {
  for (int i = 0; i < list.count; ++i)
    if (list.records[i].pid == pid) return &list.records[i];
  return nullptr;
}

// Ended processes of that name which nobody has reaped yet; the snapshot leaves them out.
std::vector<std::string> zombiesOf(name_text const& name) {
  std::vector<std::string> found;
  std::error_code ignored;  // a process that goes meanwhile is no zombie any more
  for (auto const& folder : std::filesystem::directory_iterator("/proc", ignored)) {
    std::uint32_t pid = 0;
    if (!detail::parseId(folder.path().filename().c_str(), &pid)) continue;
    std::ostringstream text;
    text << std::ifstream(folder.path() / "stat").rdbuf();
    std::string const line = text.str();
    detail::stat_line read;
    if (!detail::parseStatLine(line.data(), line.size(), &read) || read.state != 'Z' ||
        read.threads > 1)
      continue;
    if (name_text(std::string(read.name, read.nameSize).c_str()).isEqual(name))
      found.push_back(std::to_string(pid) + ", child of " + std::to_string(read.parentPid));
  }
  return found;
}

void tell(char const* what, std::vector<std::string> const& found) {
  std::printf("  %s:", what);
  for (auto const& one : found)
    std::printf("%s %s", &one == &found.front() ? "" : ";", one.c_str());
  std::printf("%s\n", found.empty() ? " none" : "");
}

struct matches {
  std::vector<std::string> siblings, orphans, others;
};

matches sorted(_qzProcessList const& list, int cmdPid, name_text const& name) {
  matches all;
  for (int i = 0; i < list.count; ++i) {
    record const& one = list.records[i];
    if (one.name != name) continue;
    record const* const parent = recordOf(list, one.parentPid);
    if (cmdPid >= 0 && one.parentPid == static_cast<unsigned>(cmdPid))
      all.siblings.push_back(told(one));
    else if (parent == nullptr)
      all.orphans.push_back(told(one));
    else
      all.others.push_back(told(one) + ", child of " + told(*parent));
  }
  return all;
}

std::string ruleOf(matches const& found, detail::render_search const& search) {
  if (search.renderPid > 0 && !found.siblings.empty())
    return found.siblings.size() == 1
               ? "it is the child of that name of the process that starts the check"
               : "it is the first, in the order of the list, of several children of that name";
  if (search.renderPid > 0)
    return "no child has that name, and it is the only one of that name whose parent is not there";
  if (found.orphans.size() > 1)
    return "no child has that name, and of several orphans none can be told to be the one";
  if (!found.others.empty())
    return "those of that name are children of other processes; let the script itself start both, "
           "or start the render through 'qzframe run'";
  return "no process of that name is running";
}

int explainWait(std::string const& given) {
  name_text name(given.c_str());
  name.makeUpper();
  auto const list = std::make_unique<_qzProcessList2>(false);
  list->collectAllProcesses2();
  if (list->count <= 0) {
    complain(std::string("the processes can't be listed, so the check would not wait:") +
             list->error.asChar());
    return kNoList;
  }

  auto const search = detail::findRenderProcess(*list, getpid(), name);
  record const* const own = recordOf(*list, static_cast<unsigned>(getpid()));
  record const* const parent = recordOf(*list, static_cast<unsigned>(search.cmdPid));
  matches const found = sorted(*list, search.cmdPid, name);

  std::printf("Looking for %s as the check would, started from here\n",
              coloured(stdout, colour::bold, name.asChar()).c_str());
  if (given.size() > static_cast<std::size_t>(kKernelNameBytes))
    std::printf("  the name is too long: the kernel keeps %d bytes, so pass '%s'\n",
                kKernelNameBytes, given.substr(0, kKernelNameBytes).c_str());
  tell("this process", {own == nullptr ? "not in the list" : told(*own)});
  tell("started by", {parent == nullptr ? "a process that is not in the list" : told(*parent)});
  tell("its children of that name", found.siblings);
  tell("orphans of that name", found.orphans);
  tell("of that name, but children of others", found.others);
  tell("of that name, but ended and not yet reaped", zombiesOf(name));

  if (name == name_text("QZCHECKEXITCODE")) {
    std::printf("%s for itself, without end: it bears that name.\n",
                coloured(stdout, colour::red, "It would wait").c_str());
    return kWaits;
  }
  std::string const rule = ruleOf(found, search);
  if (search.renderPid > 0) {
    std::printf("%s for %d: %s.\n", coloured(stdout, colour::yellow, "It would wait").c_str(),
                search.renderPid, rule.c_str());
    return kWaits;
  }
  std::printf("%s: %s.\n", coloured(stdout, colour::green, "It would not wait").c_str(),
              rule.c_str());
  return kDoesNotWait;
}

}  // namespace

command addWhy(CLI::App& program) {
  auto const name = std::make_shared<std::string>();
  CLI::App* const parser =
      program.add_subcommand("why", "Say which process the check would wait for, and why");
  parser->add_option("NAME", *name, "Name of the render process, as the check gets it")
      ->required()
      ->check([](std::string const& text) {
        return text.empty() ? "a process name has at least one character" : "";
      });
  parser->footer(
      "Exit status: 0 the check would wait, 1 it would not, 3 the processes can't be listed.\n"
      "Example: qzframe why renderapp");
  return {parser, [name] { return explainWait(*name); }};
}

}  // namespace qz::companion
