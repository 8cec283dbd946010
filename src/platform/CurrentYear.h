#pragma once

namespace tolvane {

// The current calendar year in local time, such as 2026.
int currentYear();

} // namespace tolvane
