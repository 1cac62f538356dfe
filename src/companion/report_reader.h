// Finds the framed reports of the check in a job's log. A pure state machine over blocks of text:
// it reads no file and keeps no more than one report, however long the log is. A report is known by
// its header, so that a logger may put words of its own in front of every line.
//
// Reports of tools that write into one log in the same instant are told apart by their headers
// alone: a line of the one that falls into the other is taken as the other's.
#ifndef QZ_COMPANION_REPORT_READER_H_
#define QZ_COMPANION_REPORT_READER_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qz::companion {

struct found_report {
  enum posting {
    posted,
    not_posted,
    goes_on,  // tells of a wrong argument only; the run's own report follows
    unknown   // the report has no end: its tool was killed perhaps
  };

  std::uint64_t offset = 0;  // of the header's line, in bytes from the start of the log
  std::string time;          // as it stands in the log: local time without a year
  bool isError = false;      // the verdict on the frame
  std::optional<int> code;   // none: the report tells of a wrong argument only
  std::optional<int> frame;  // the low 32 bits
  std::optional<int> jobThread;
  bool wasForgiven = false;
  bool hasWaited = false;  // said so right before
  posting message = unknown;
  std::string reason;  // why it was not posted, or which argument was wrong
};

class report_reader {
 public:
  static constexpr std::size_t kTailBytes = 1024;  // more than the longest line of the check

  explicit report_reader(std::function<void(found_report const&)> taker) : take(std::move(taker)) {}

  // Takes the next part of the log. Gives every report to `take` as soon as its end is certain.
  // Returns how many bytes were used up: what stands behind the last line feed must be given again
  // in front of the next part. A line too long for the caller's memory may lose its beginning, all
  // but kTailBytes; the caller tells so with skip.
  std::size_t feed(std::string_view part);
  void skip(std::size_t bytes) { position += bytes; }
  // The log has ended; `rest` is a last line without a line feed.
  void finish(std::string_view rest);

 private:
  void readLine(std::string_view line);
  void readFramed(char fill, std::string_view text);
  void give(found_report::posting message);
  std::size_t nextMark(std::string_view part, std::size_t from);

  std::function<void(found_report const&)> take;
  std::uint64_t position = 0;  // bytes of the log in front of the part
  std::uint64_t lineOffset = 0;
  found_report report;
  bool isInside = false;   // between a report's header and its end
  bool mayBeOver = false;  // saw an empty frame: the end of this report or the start of the next
  bool sawWait = false;
  int foreignLines = 0;        // without a frame, since the report's last line
  std::size_t nextHeader = 0;  // in the part, as far as it was searched; npos if there is none
};

}  // namespace qz::companion

#endif  // QZ_COMPANION_REPORT_READER_H_
