// strcasecmp as in a Latin-1 locale, of which none need be installed where the tests run. The test
// program is linked with --wrap for it: every call from the library and the tests passes through here.
#pragma once

namespace latin1 {

// During its life strcasecmp folds the letters of Latin-1, too.
class Folding {
  public:
    Folding();
    ~Folding();
    Folding(const Folding &) = delete;
    Folding &operator=(const Folding &) = delete;
};

} // namespace latin1
