// Path text: taking names apart, putting them together, normalising them. A path may hold either
// delimiter, a drive letter, a network form that begins with two delimiters, or a symbolic root
// such as "<Database>", which is known by its looks and not expanded.
//
// The functions work on text and know nothing of the file system; qzDirectoryExists alone asks it.
// Only the forward slash counts, so a path from elsewhere goes through qzConvertPDToOS first. Text
// that does not fit its capacity is cut, nothing is reported, nothing takes heap memory, and every
// function may run on any thread. docs/files.md shows the rules as tables of in and out.
//
// Each family is one algorithm for both unit widths and all capacities, in qz::detail; the
// overloads list the string types that it is offered for. What only one form does is told at that
// form.
#ifndef QZ_FILES_PATHS_H_
#define QZ_FILES_PATHS_H_

#include "strings/string16.h"
#include "strings/string8.h"

namespace qz::detail {

inline constexpr char PD8_WIN = 0x5C;
inline constexpr char PD8_LX = 0x2F;
inline constexpr unsigned short PD_WIN = 0x5C;
inline constexpr unsigned short PD_LX = 0x2F;
inline constexpr unsigned short PD = PD_LX;  // the one of this platform

// The algorithms; the public families below tell what they do.
template <class Unit>
void cutToDirName(text_slot<Unit> path);
// At most 100 units of the path itself.
template <class Unit>
unit_run<Unit> fileNameIn(text_view<Unit> path);
template <class Unit>
bool isRelative(text_view<Unit> path);
template <class Unit>
void resolveParents(text_slot<Unit> path);
template <class Unit>
void convertDelimiters(text_slot<Unit> path);
template <class Unit>
void appendBundleExecutable(text_slot<Unit> path);
bool directoryExists(text_slot<char> path);

// The algorithms in the form of the public functions.
template <class Text>
Text dirName(Text& path) {
  cutToDirName(slotOf(path));
  return path;
}
template <class Name, class Text>
Name fileName(Text const& path) {
  Name name;
  assign(slotOf(name), fileNameIn(viewOf(path)));
  return name;
}
template <class Text>
Text resolved(Text& path) {
  resolveParents(slotOf(path));
  return path;
}
template <class Text>
Text converted(Text path) {
  convertDelimiters(slotOf(path));
  return path;
}
template <class Text>
Text bundleExecutable(Text& path) {
  appendBundleExecutable(slotOf(path));
  return path;
}

}  // namespace qz::detail

// Returns the path up to its last forward slash, that one included; a slash at the end does not
// count, so a folder gives the one above it. A path of fewer than 3 characters and a network path
// without a folder come back as they are, the latter without a slash at its end; a name without a
// slash gives an empty text. At the capacity the closing slash is left out.
inline _qzString8_allSize<200> qzGetDirName(_qzString8_allSize<200> path) {
  return qz::detail::dirName(path);
}
inline _qzString8_allSize<250> qzGetDirName(_qzString8_allSize<250> path) {
  return qz::detail::dirName(path);
}
inline _qzString8_allSize<500> qzGetDirName(_qzString8_allSize<500> path) {
  return qz::detail::dirName(path);
}
inline _qzString<250> qzGetDirName(_qzString<250> path) { return qz::detail::dirName(path); }
inline _qzString<500> qzGetDirName(_qzString<500> path) { return qz::detail::dirName(path); }
inline _qzString<1000> qzGetDirName(_qzString<1000> path) { return qz::detail::dirName(path); }

// Returns what stands behind the last forward slash, or the path itself if it has none: the first
// 100 characters of it. Empty for a path that ends in a slash.
inline _qzString8_allSize<100> qzGetFileName(_qzString8_allSize<200> const& path) {
  return qz::detail::fileName<_qzString8_allSize<100>>(path);
}
inline _qzString8_allSize<100> qzGetFileName(_qzString8_allSize<250> const& path) {
  return qz::detail::fileName<_qzString8_allSize<100>>(path);
}
inline _qzString8_allSize<100> qzGetFileName(_qzString8_allSize<500> const& path) {
  return qz::detail::fileName<_qzString8_allSize<100>>(path);
}
inline _qzString<100> qzGetFileName(_qzString<250> const& path) {
  return qz::detail::fileName<_qzString<100>>(path);
}
inline _qzString<100> qzGetFileName(_qzString<500> const& path) {
  return qz::detail::fileName<_qzString<100>>(path);
}

// Returns the file name without its last extension, at full length. The folder goes only if the
// last `delimiter`, of which the low byte counts, is at position 2 or behind, and the extension
// only if its dot is: "a.b" and ".hidden" stay as they are.
_qzString8_allSize<500> qzGetFileNameBase(_qzString8_allSize<500> path, unsigned short delimiter);

// Returns false for a path that begins with a forward slash, with a drive letter, colon and forward
// slash, or with one of the symbolic roots "<Database>", "[cfgPath]" and "[temp]" in any case. True
// for all others, and for fewer than 3 characters whatever they are.
inline bool isRelativePath(_qzString8_allSize<500> const& path) {
  return qz::detail::isRelative(viewOf(path));
}
inline bool isRelativePath(_qzString<250> const& path) {
  return qz::detail::isRelative(viewOf(path));
}
inline bool isRelativePath(_qzString<1000> const& path) {
  return qz::detail::isRelative(viewOf(path));
}

// Returns the path with forward slashes, each pair of slashes made one (two at the front stay two),
// and the first run of "../" taken out: for each of them qzGetDirName is applied to what stands
// before the run. Later runs and single dots stay. A drive letter or symbolic root goes like any
// folder, a network share loses its slash, and only a bare root in angle brackets right before the
// run keeps it: then the path comes back with the run.
inline _qzString8_allSize<500> qzPathResolve(_qzString8_allSize<500> path) {
  return qz::detail::resolved(path);
}
inline _qzString<500> qzPathResolve(_qzString<500> path) { return qz::detail::resolved(path); }

// Returns the path with a forward slash in the place of every backslash.
inline _qzString8_allSize<50> qzConvertPDToOS(_qzString8_allSize<50> const& path) {
  return qz::detail::converted(path);
}
inline _qzString8_allSize<150> qzConvertPDToOS(_qzString8_allSize<150> const& path) {
  return qz::detail::converted(path);
}
inline _qzString8_allSize<200> qzConvertPDToOS(_qzString8_allSize<200> const& path) {
  return qz::detail::converted(path);
}
inline _qzString8_allSize<500> qzConvertPDToOS(_qzString8_allSize<500> const& path) {
  return qz::detail::converted(path);
}
inline _qzString<250> qzConvertPDToOS(_qzString<250> const& path) {
  return qz::detail::converted(path);
}
inline _qzString<500> qzConvertPDToOS(_qzString<500> const& path) {
  return qz::detail::converted(path);
}

// Returns the path of the executable inside of an application bundle: the argument,
// ".app/Contents/MacOS/" and the argument's file name. Nothing is tested: neither whether the
// argument ends in ".app" already, nor whether anything exists there.
inline _qzString<250> makeMacGuiExe(_qzString<250> path) {
  return qz::detail::bundleExecutable(path);
}
inline _qzString8_allSize<500> makeMacGuiExe8(_qzString8_allSize<500> path) {
  return qz::detail::bundleExecutable(path);
}

// Returns whether stat(2) finds a folder under this name, one slash at its end disregarded. False
// for fewer than 3 characters, the root included, and where stat fails, which leaves the cause in
// errno. True for a socket and a block device as well: only one bit of the mode is looked at.
inline bool qzDirectoryExists(_qzString8_allSize<200> path) {
  return qz::detail::directoryExists(slotOf(path));
}
inline bool qzDirectoryExists(_qzString8_allSize<250> path) {
  return qz::detail::directoryExists(slotOf(path));
}
inline bool qzDirectoryExists(_qzString8_allSize<500> path) {
  return qz::detail::directoryExists(slotOf(path));
}
// Asks for the low bytes of the first 249 units: a longer path is asked for by its front.
bool qzDirectoryExists(_qzString<500> path);
// Cuts at 500 characters. Null is no folder.
bool qzDirectoryExists(char const* path);

#endif  // QZ_FILES_PATHS_H_
