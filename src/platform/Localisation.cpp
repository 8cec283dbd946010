#include "Localisation.h"

#include <QCoreApplication>

namespace tolvane {

QString localized(const char* key) {
    return localizedFromTable("Localizable", key);
}

QString localizedFromTable(const char* table, const char* key) {
    return QCoreApplication::translate(table, key);
}

} // namespace tolvane
