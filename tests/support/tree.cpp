#include "tests/support/tree.h"

namespace vantor {

std::string SourceTree() {
    return VANTOR_SOURCE_DIR;
}

std::string BuildTree() {
    return VANTOR_BUILD_DIR;
}

}  // namespace vantor
