// The framed lines in which the tool speaks in the job's log. A reader of a long log finds them at
// a glance, and their fill tells whether the frame ended well: plus signs mean error, underscores
// success. Neither function flushes standard output, and neither keeps any state.
#ifndef QZ_TOOL_REPORT_H_
#define QZ_TOOL_REPORT_H_

#include "strings/string8.h"

// The version as it stands in a report, leading blank included.
inline constexpr char qzVersion[] = " 8.3.05";

// Prints one framed line of up to three texts, two blanks between them, on standard output. With
// its line feed it is 103 characters long as long as the text has at most 94; a longer text has no
// fill, and what passes 250 characters is lost, the line feed first.
//
// The finished line is the format of printf: a percent sign in a text is taken as a conversion.
void printLine(bool const& isError, _qzString8_allSize<250> const& a,
               _qzString8_allSize<250> const& b, _qzString8_allSize<250> const& c);

// Prints the two lines that open a report: an empty one, and the time of day with the words "Render
// executable closed".
void writeInfoHeader(bool const& isError);

#endif  // QZ_TOOL_REPORT_H_
