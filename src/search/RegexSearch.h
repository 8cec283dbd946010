#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace tolvane {

// The text of capture group `range` (0: the whole match) of the first match of an ICU pattern
// in the text, matched without regard to case, and with "." matching line ends as well when
// lineSeparators is set. Nothing for an empty text or pattern, a pattern that does not
// compile, no match, or a group the pattern does not have.
std::optional<QString> searchRegexInString(QStringView text, QStringView pattern, unsigned range,
                                           bool lineSeparators);

} // namespace tolvane
