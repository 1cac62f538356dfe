#include "files/log_file.h"

#include <fstream>
#include <string>

#include "time/time_value.h"

bool writeToLogFile(_qzString8_allSize<250> const& fileName, _qzString8_allSize<5000> text,
                    bool overwrite, bool withTime) {
  _qzString8_allSize<5000> line;
  if (withTime) {
    line = _qzTime(true).asQZ8String().asUni();
    line.add(": ");
  }
  line.add(text);
  line += '\n';

  auto const mode = overwrite ? std::ios::out : std::ios::out | std::ios::app;
  std::ofstream file(fileName.asChar(), mode);
  if (!file.is_open()) return false;
  file << std::string(line.asChar());
  file.close();
  return true;
}

_qzString8_allSize<250> qzGetTempDir() { return "/tmp/"; }
