#include "truetype/IContourInterface.h"

namespace Typeframe {

IContourInterface::~IContourInterface() = default;

}  // namespace Typeframe
