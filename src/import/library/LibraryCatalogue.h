#pragma once

#include "import/Tags.h"
#include "platform/Result.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <memory>

struct sqlite3;

namespace tolvane {

// The library's catalogue: one row per item in a SQLite file (WAL, so several processes can
// import at once). An item's row is written before its file exists, as "pending" with the
// process that owns it, and becomes "done" once its file is in place, so a process that dies
// half-way can be told from one still at work.
class LibraryCatalogue {
public:
    static constexpr int schemaVersion = 1;

    // What a finished item records.
    struct Item {
        QString kind;
        Tags metadata; // every value but the artwork itself
        qint64 durationMs = -1;
        QString path; // relative to the library folder
        qint64 artworkBytes = 0;
        int artworkWidth = 0;
        int artworkHeight = 0;
        QString artworkSha256;
        QString sourcePath;
    };

    struct Pending {
        qint64 id = -1;
        qint64 ownerPid = 0;
        qint64 ownerStart = 0;
        QString tempPath;  // absolute
        QString candidate; // relative; empty until a rename is tried
    };

    // Opens (creating or migrating) the catalogue.
    static Result<std::unique_ptr<LibraryCatalogue>> open(const QString& file);
    ~LibraryCatalogue();
    LibraryCatalogue(const LibraryCatalogue&) = delete;
    LibraryCatalogue& operator=(const LibraryCatalogue&) = delete;

    // A pending row owned by this process for a copy at tempPath, holding what the item will
    // hold; its id.
    Result<qint64> beginItem(const QString& tempPath, const Item& item);
    // Records the name about to be taken, before the rename that takes it.
    Status setCandidate(qint64 id, const QString& relativePath);
    // Marks a pending row whose file is in place under its candidate name as done.
    Status finishItem(qint64 id);
    Status removeItem(qint64 id);

    Result<QList<Pending>> pendingItems();
    // The finished items, oldest first, as JSON-ready maps.
    Result<QList<QVariantMap>> items();

    // This process as it is recorded in pending rows.
    static qint64 currentProcessStart();
    // Whether the process recorded in a pending row is still running.
    static bool ownerAlive(qint64 pid, qint64 start);

private:
    explicit LibraryCatalogue(sqlite3* db)
        : m_db(db) {}
    Status execute(const char* sql);
    // Leaves a transaction that failed half-way; nothing else can be done about a failure here.
    void rollBack();
    Status migrate();
    Status describeItem(qint64 id, const Item& item);

    sqlite3* m_db;
};

} // namespace tolvane
