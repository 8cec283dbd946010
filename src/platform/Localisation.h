#pragma once

#include <QString>

namespace tolvane {

// Every user-visible text is looked up with its English text as the key; without a
// translation the key itself shows.
QString localized(const char* key);
// A text from another table, such as the web engine's ("com.apple.WebCore").
QString localizedFromTable(const char* table, const char* key);

} // namespace tolvane
