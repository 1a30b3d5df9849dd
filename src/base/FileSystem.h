#pragma once

// Where the library's data files lie.

#include "base/Path.h"

namespace Bedrock::FileSystem {

// The directory of the library's data files, found from where the binary
// holding this code lies, so that it works from the build tree and from an
// installed prefix wherever it was moved. Looked up once.
PathT<Utf8String, PathTraitsUnix> GetResourcesDirectory();

}  // namespace Bedrock::FileSystem
