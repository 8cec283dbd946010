#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace tolvane {

// Spaces the requests to a service that asks for no more than one request in an interval:
// each call runs its work at the first free slot of that service, later calls queue behind.
// Slots are kept for the whole process, by service name.
class RequestPacer {
public:
    // Runs the work at the service's next free slot, unless the context has gone by then.
    static void schedule(const QString& service, int intervalMs, QObject* context,
                         std::function<void()> work);
    // Forgets every slot taken (the next request of each service goes at once).
    static void reset();
};

} // namespace tolvane
