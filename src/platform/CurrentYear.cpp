#include "CurrentYear.h"

#include <QDate>

namespace tolvane {

int currentYear() {
    return QDate::currentDate().year();
}

} // namespace tolvane
