// Takes a free lock in the folder given and gives it back, so many times.
#include <cstdlib>
#include <string>

#include "files/lock_file.h"

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  _qzFileLocker2 locker((std::string(argv[1]) + "/target").c_str());
  for (int i = std::atoi(argv[2]); i > 0; --i) {
    if (!locker.lock(1000, "lock_once", nullptr, false)) return 1;
    locker.unlock();
  }
}
