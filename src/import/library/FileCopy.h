#pragma once

#include <QString>

namespace tolvane {

// Copies the whole of one open file into another, sharing blocks (a reflink) where the file
// system allows, else copying inside the kernel, else through a buffer. Both descriptors stay
// open. Returns an empty text on success, else the cause.
QString copyFileContents(int sourceFd, int destinationFd);

} // namespace tolvane
