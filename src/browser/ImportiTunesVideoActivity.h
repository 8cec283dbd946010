#pragma once

#include "browser/ImportActivity.h"

namespace tolvane {

// "Import to Videos": imports as its own media kind ("music-video" unless set), which overrides the
// file's.
class ImportiTunesVideoActivity : public ImportActivity {
    Q_OBJECT
public:
    explicit ImportiTunesVideoActivity(QObject* parent = nullptr);
};

} // namespace tolvane
