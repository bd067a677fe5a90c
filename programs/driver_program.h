#pragma once

namespace vossel {

// The whole program: 0 done, 1 a replay was not answered, 2 the call was wrong or could not be
// carried out. Failures are one sentence on standard error.
int runDriver(int argc, char** argv);

}
