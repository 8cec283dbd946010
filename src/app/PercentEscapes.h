#pragma once

#include <QString>

#include <optional>

namespace tolvane {

// Replaces every %XX escape by its byte and reads the result as UTF-8. Nothing when an escape
// is malformed or the bytes are not valid UTF-8: a name that cannot be spelt is not guessed.
std::optional<QString> replacingPercentEscapes(const QString& text);

} // namespace tolvane
