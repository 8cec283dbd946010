#include "ImportiTunesVideoActivity.h"

#include "import/MediaKinds.h"

namespace tolvane {

ImportiTunesVideoActivity::ImportiTunesVideoActivity(QObject* parent)
    : ImportActivity(Kind{"Import to Videos", "activityMusicVideo.png", MediaKinds::musicVideo},
                     parent) {}

} // namespace tolvane
