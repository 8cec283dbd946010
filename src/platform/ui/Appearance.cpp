#include "Appearance.h"

namespace tolvane {

Appearance& Appearance::shared() {
    static Appearance appearance;
    return appearance;
}

} // namespace tolvane
