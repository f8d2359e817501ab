#include "shell/version.h"

namespace velmar {
std::string_view productName() {
    return "Velmar Kestrin SILK";
}
std::string_view productVersion() {
    return VELMAR_VERSION;
}
} // namespace velmar
