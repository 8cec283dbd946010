#pragma once

#include "browser/ImportActivity.h"

namespace tolvane {

// "Import to Music": imports as its own media kind ("song" unless set), which overrides the file's.
class ImportiTunesAudioActivity : public ImportActivity {
    Q_OBJECT
public:
    explicit ImportiTunesAudioActivity(QObject* parent = nullptr);
};

} // namespace tolvane
