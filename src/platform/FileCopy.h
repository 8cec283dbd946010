#pragma once

#include "platform/Result.h"

namespace tolvane {

// Copies bytes between open files, sharing blocks (a reflink) where the file system allows a
// whole file to be shared, else copying inside the kernel, else through a buffer. The written
// part is handed to the disk as it goes, so that flushing the copy afterwards waits only for
// the last of it. Both descriptors stay open. A source that grows while it is copied is copied
// as long as it was when the copy began.
Status copyFileContents(int sourceFd, int destinationFd);
// `length` bytes from `sourceOffset` to `destinationOffset`; -1 copies to the end of the source.
Status copyFileRange(int sourceFd, qint64 sourceOffset, int destinationFd, qint64 destinationOffset,
                     qint64 length);

} // namespace tolvane
