// The shared library's only object: makeZELPData itself comes from the driver library and is
// kept by --undefined; the version script hides everything else.
#include "zelpgen/zelpgen.h"
