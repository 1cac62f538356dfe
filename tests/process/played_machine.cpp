#include "process/played_machine.h"

#include <pwd.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <new>

played_machine played;
long long playedClock = kPlayedStart;

qz::detail::enumeration qz::detail::enumerateProcesses(process_entry* entries, int& count) {
  bool const isQuestion = entries == nullptr;
  if (!isQuestion && --played.growths >= 0) return enumeration::grew;
  errno = isQuestion ? played.sizeFailure : played.fillFailure;
  if (errno != 0) return enumeration::failed;
  if (!isQuestion) playedClock += played.enumerationTakes;
  // As long as the machine grows it tells too small a size.
  count = std::min(isQuestion ? 9999 : count, played.growths > 0 ? 1 : played.processes);
  for (unsigned i = 0; !isQuestion && i < static_cast<unsigned>(count); ++i)
    entries[i] = {i + 100, i + 50, static_cast<int>(i) - 2, "Twenty-five (\xE4) bytes...."};
  return enumeration::complete;
}

qz::detail::query_answer qz::detail::queryProcess(unsigned pid, process_figures& figures) {
  playedClock += played.queryTakes;
  figures = played.figures;
  auto const other = played.otherAnswers.find(pid);
  auto const answer = other == played.otherAnswers.end() ? played.answer : other->second;
  errno = answer.code;
  return answer;
}

void* operator new[](std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
  if (played.hasMemory) return operator new[](size);
  errno = ENOMEM;
  return nullptr;
}

extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
  *now = {playedClock / 1'000'000, playedClock % 1'000'000};
  return 0;
}

extern "C" time_t time(time_t* /*now*/) noexcept { return playedClock / 1'000'000; }

extern "C" passwd* getpwuid(uid_t user) {
  static char longName[] = "abcdefghijklmnopqrstuvwxyzABCD", shortName[] = "mia";
  static passwd found = {};
  found.pw_name = user == 1 ? longName : user == 3 ? shortName : nullptr;
  return user >= 1 && user <= 3 ? &found : nullptr;
}
