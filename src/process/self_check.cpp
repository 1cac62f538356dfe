#include "process/self_check.h"

#include <memory>

#include "process/process_list.h"

namespace {

using short_text = _qzString8_allSize<25>;

short_text consoleNameOf(short_text const& name) { return name.combined("console"); }

// The rule for any user and for one: `exists(name, pid)` and `existsTwice(name, pid)` ask a list of
// which the first question takes the snapshot. Both questions are always asked, plain form first.
template <class Exists, class ExistsTwice>
bool anotherRuns(short_text const& name, bool isConsoleForm, bool checkBothForms, long long* pid,
                 Exists exists, ExistsTwice existsTwice) {
  if (!checkBothForms) return existsTwice(name, pid);
  bool const plain = isConsoleForm ? exists(name, pid) : existsTwice(name, pid);
  short_text const consoleName = consoleNameOf(name);
  bool const console =
      isConsoleForm ? existsTwice(consoleName, nullptr) : exists(consoleName, nullptr);
  return plain || console;
}

}  // namespace

bool ourProcessAlreadyExists(short_text name, bool isConsoleForm, bool checkBothForms,
                             long long* pid) {
  auto const list = std::make_unique<_qzProcessList>();
  return anotherRuns(
      name, isConsoleForm, checkBothForms, pid,
      [&](short_text const& form, long long* id) { return list->processExists(form, false, id); },
      [&](short_text const& form, long long* id) { return list->doesProcessExistTwice(form, id); });
}

bool ourProcessAlreadyExistsTwice(short_text name, bool checkBothForms) {
  auto const list = std::make_unique<_qzProcessList>();
  int running = list->doesProcessExistCount(name, nullptr);
  if (checkBothForms) running += list->doesProcessExistCount(consoleNameOf(name), nullptr);
  return running > 2;
}

bool ourProcessAlreadyExists_SameUser(short_text const& name, short_text const& user,
                                      bool isConsoleForm, bool checkBothForms, long long* pid) {
  auto const list = std::make_unique<_qzProcessList>();
  return anotherRuns(
      name, isConsoleForm, checkBothForms, pid,
      [&](short_text const& form, long long* id) {
        return list->processExists_SameUser(form, user, false, id);
      },
      [&](short_text const& form, long long* id) {
        return list->doesProcessExistTwice_SameUser(form, user, id);
      });
}
