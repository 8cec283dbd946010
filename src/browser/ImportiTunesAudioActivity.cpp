#include "ImportiTunesAudioActivity.h"

#include "import/MediaKinds.h"

namespace tolvane {

ImportiTunesAudioActivity::ImportiTunesAudioActivity(QObject* parent)
    : ImportActivity(Kind{"Import to Music", "activityAudio.png", MediaKinds::song}, parent) {}

} // namespace tolvane
