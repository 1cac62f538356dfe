#include <cerrno>
#include <cstdio>

#include "tool/posix_strerror.h"
#include "tool/system_services.h"

_qzString8_allSize<250> qzLastOSError8(int code) {
  if (code == -1) code = errno;
  if (code == 0) return "No Error.";

  char buffer[250] = {};
  if (!qz::detail::posixErrorText(code, buffer, sizeof buffer) || buffer[0] == 0)
    std::snprintf(buffer, sizeof buffer, "Error %d.", code);

  _qzString8_allSize<250> text(buffer);
  text.replace('\n', ' ');
  text.replace('\r', ' ');
  return text;
}
