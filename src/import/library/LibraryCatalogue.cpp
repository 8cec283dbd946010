#include "import/library/LibraryCatalogue.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <csignal>
#include <sqlite3.h>
#include <unistd.h>

namespace tolvane {

namespace {

// Each step takes the catalogue from the version before it to the next.
const char* const migrations[] = {
    // 0 -> 1
    "CREATE TABLE items ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " state TEXT NOT NULL CHECK (state IN ('pending', 'done')),"
    " owner_pid INTEGER, owner_start INTEGER, temp_path TEXT,"
    " path TEXT, kind TEXT,"
    " title TEXT, artist TEXT, album TEXT, genre TEXT, year TEXT,"
    " track_number INTEGER, track_count INTEGER, podcast_name TEXT, series_name TEXT,"
    " season_number INTEGER, episode_number INTEGER,"
    " metadata TEXT, duration_ms INTEGER,"
    " artwork_bytes INTEGER, artwork_width INTEGER, artwork_height INTEGER,"
    " artwork_sha256 TEXT, source_path TEXT, imported_at TEXT);"
    "CREATE INDEX items_state ON items (state);",
};
static_assert(std::size(migrations) == LibraryCatalogue::schemaVersion);

// A full disk is told as the system tells it, so that screens can say so in their words.
int systemErrorOf(sqlite3* db) {
    switch (sqlite3_errcode(db) & 0xff) {
    case SQLITE_FULL:
        return ENOSPC;
    case SQLITE_IOERR:
        return sqlite3_system_errno(db);
    default:
        return 0;
    }
}

Failure errorOf(sqlite3* db, const char* doing) {
    return Failure(QStringLiteral("catalogue %1: %2")
                       .arg(QLatin1String(doing), QString::fromUtf8(sqlite3_errmsg(db))),
                   QString(), systemErrorOf(db));
}

// A prepared statement that finalises itself.
class Statement {
public:
    Statement(sqlite3* db, const char* sql) {
        sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool valid() const { return m_statement != nullptr; }
    void bind(int index, const QString& text) {
        if (text.isNull()) {
            sqlite3_bind_null(m_statement, index);
            return;
        }
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text(m_statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }
    void bind(int index, qint64 number) { sqlite3_bind_int64(m_statement, index, number); }
    void bindOptional(int index, const QVariant& value) {
        if (value.isValid())
            bind(index, qint64(value.toLongLong()));
        else
            sqlite3_bind_null(m_statement, index);
    }
    int step() { return sqlite3_step(m_statement); }
    qint64 integer(int column) const { return sqlite3_column_int64(m_statement, column); }
    QString text(int column) const {
        const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return data ? QString::fromUtf8(data, sqlite3_column_bytes(m_statement, column))
                    : QString();
    }
    QVariant value(int column) const {
        switch (sqlite3_column_type(m_statement, column)) {
        case SQLITE_INTEGER:
            return integer(column);
        case SQLITE_NULL:
            return QVariant();
        default:
            return text(column);
        }
    }
    int columns() const { return sqlite3_column_count(m_statement); }
    QString name(int column) const {
        return QString::fromUtf8(sqlite3_column_name(m_statement, column));
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

QString json(const QVariantMap& map) {
    return QString::fromUtf8(
        QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact));
}

} // namespace

Result<std::unique_ptr<LibraryCatalogue>> LibraryCatalogue::open(const QString& file) {
    sqlite3* db = nullptr;
    const int status = sqlite3_open_v2(
        QFile::encodeName(file).constData(), &db,
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    std::unique_ptr<LibraryCatalogue> catalogue(new LibraryCatalogue(db));
    if (status != SQLITE_OK) {
        return Failure(QStringLiteral("the catalogue cannot be opened: %1")
                           .arg(QString::fromUtf8(sqlite3_errstr(status))),
                       file);
    }
    // Other processes may hold the write lock for a moment; wait for them rather than fail.
    sqlite3_busy_timeout(db, 30000);
    if (Status ready = catalogue->execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                                          " PRAGMA foreign_keys = ON;");
        !ready)
        return ready.failure();
    if (Status migrated = catalogue->migrate(); !migrated)
        return migrated.failure();
    return catalogue;
}

LibraryCatalogue::~LibraryCatalogue() {
    sqlite3_close_v2(m_db);
}

Status LibraryCatalogue::execute(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &message) == SQLITE_OK)
        return {};
    const Failure failure(
        QStringLiteral("catalogue: %1").arg(QString::fromUtf8(message ? message : "error")),
        QString(), systemErrorOf(m_db));
    sqlite3_free(message);
    return failure;
}

void LibraryCatalogue::rollBack() {
    ignoreFailure(execute("ROLLBACK"), "the transaction being left has failed already");
}

Status LibraryCatalogue::migrate() {
    if (Status begun = execute("BEGIN IMMEDIATE"); !begun)
        return begun;
    int version = 0;
    {
        Statement query(m_db, "PRAGMA user_version");
        if (query.valid() && query.step() == SQLITE_ROW)
            version = int(query.integer(0));
    }
    if (version > schemaVersion) {
        rollBack();
        return Failure(QStringLiteral("the catalogue was written by a newer version (schema %1)")
                           .arg(version));
    }
    for (; version < schemaVersion; ++version) {
        if (Status migrated = execute(migrations[version]); !migrated) {
            rollBack();
            return migrated;
        }
    }
    const QByteArray setVersion =
        QByteArray("PRAGMA user_version = ") + QByteArray::number(schemaVersion);
    Status done = execute(setVersion.constData());
    if (done)
        done = execute("COMMIT");
    if (!done)
        rollBack();
    return done;
}

Result<qint64> LibraryCatalogue::beginItem(const QString& tempPath, const Item& item) {
    if (Status begun = execute("BEGIN IMMEDIATE"); !begun)
        return begun.failure();
    Statement insert(m_db, "INSERT INTO items (state, owner_pid, owner_start, temp_path)"
                           " VALUES ('pending', ?, ?, ?)");
    insert.bind(1, qint64(getpid()));
    insert.bind(2, currentProcessStart());
    insert.bind(3, tempPath);
    if (!insert.valid() || insert.step() != SQLITE_DONE) {
        const Failure failure = errorOf(m_db, "cannot record the import");
        rollBack();
        return failure;
    }
    const qint64 id = sqlite3_last_insert_rowid(m_db);
    Status described = describeItem(id, item);
    if (described)
        described = execute("COMMIT");
    if (!described) {
        rollBack();
        return described.failure();
    }
    return id;
}

Status LibraryCatalogue::setCandidate(qint64 id, const QString& relativePath) {
    Statement update(m_db, "UPDATE items SET path = ? WHERE id = ?");
    update.bind(1, relativePath);
    update.bind(2, id);
    if (update.valid() && update.step() == SQLITE_DONE)
        return {};
    return errorOf(m_db, "cannot record the item's name");
}

Status LibraryCatalogue::describeItem(qint64 id, const Item& item) {
    Statement update(m_db,
                     "UPDATE items SET path = ?, kind = ?, title = ?, artist = ?, album = ?,"
                     " genre = ?, year = ?, track_number = ?, track_count = ?, podcast_name = ?,"
                     " series_name = ?, season_number = ?, episode_number = ?, metadata = ?,"
                     " duration_ms = ?, artwork_bytes = ?, artwork_width = ?, artwork_height = ?,"
                     " artwork_sha256 = ?, source_path = ? WHERE id = ?");
    const Tags& m = item.metadata;
    const auto text = [](const TagValue<QString>& tag) { return tag.value_or(QString()); };
    const auto number = [](const TagValue<qlonglong>& tag) {
        return tag ? QVariant(*tag) : QVariant();
    };
    update.bind(1, item.path);
    update.bind(2, item.kind);
    update.bind(3, text(m.title));
    update.bind(4, text(m.artist));
    update.bind(5, text(m.albumName));
    update.bind(6, text(m.genre));
    update.bind(7, m.yearText().value_or(QString()));
    update.bindOptional(8, number(m.trackNumber));
    update.bindOptional(9, number(m.trackCount));
    update.bind(10, text(m.podcastName));
    update.bind(11, text(m.seriesName));
    update.bindOptional(12, number(m.seasonNumber));
    update.bindOptional(13, number(m.episodeNumber));
    update.bind(14, json(m.toDictionary()));
    update.bindOptional(15, item.durationMs >= 0 ? QVariant(item.durationMs) : QVariant());
    update.bind(16, item.artworkBytes);
    update.bind(17, qint64(item.artworkWidth));
    update.bind(18, qint64(item.artworkHeight));
    update.bind(19, item.artworkSha256.isEmpty() ? QString() : item.artworkSha256);
    update.bind(20, item.sourcePath);
    update.bind(21, id);
    if (update.valid() && update.step() == SQLITE_DONE && sqlite3_changes(m_db) == 1)
        return {};
    return errorOf(m_db, "cannot record the item");
}

Status LibraryCatalogue::finishItem(qint64 id) {
    Statement update(m_db, "UPDATE items SET state = 'done', owner_pid = NULL,"
                           " owner_start = NULL, temp_path = NULL,"
                           " imported_at = ? WHERE id = ? AND state = 'pending'");
    update.bind(1, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    update.bind(2, id);
    if (update.valid() && update.step() == SQLITE_DONE)
        return {};
    return errorOf(m_db, "cannot record the item");
}

Status LibraryCatalogue::removeItem(qint64 id) {
    Statement remove(m_db, "DELETE FROM items WHERE id = ?");
    remove.bind(1, id);
    if (remove.valid() && remove.step() == SQLITE_DONE)
        return {};
    return errorOf(m_db, "cannot remove the item");
}

Result<QList<LibraryCatalogue::Pending>> LibraryCatalogue::pendingItems() {
    QList<Pending> pending;
    Statement query(m_db, "SELECT id, owner_pid, owner_start, temp_path, path FROM items"
                          " WHERE state = 'pending' ORDER BY id");
    if (!query.valid())
        return errorOf(m_db, "cannot read the catalogue");
    int status;
    while ((status = query.step()) == SQLITE_ROW)
        pending.append(
            {query.integer(0), query.integer(1), query.integer(2), query.text(3), query.text(4)});
    if (status != SQLITE_DONE)
        return errorOf(m_db, "cannot read the catalogue");
    return pending;
}

Result<QList<QVariantMap>> LibraryCatalogue::items() {
    QList<QVariantMap> rows;
    Statement query(m_db, "SELECT id, kind, path, title, artist, album, genre, year,"
                          " track_number, track_count, podcast_name, series_name,"
                          " season_number, episode_number, duration_ms, artwork_bytes,"
                          " artwork_width, artwork_height, artwork_sha256, source_path,"
                          " imported_at, metadata FROM items WHERE state = 'done' ORDER BY id");
    if (!query.valid())
        return errorOf(m_db, "cannot read the catalogue");
    int status;
    while ((status = query.step()) == SQLITE_ROW) {
        QVariantMap row;
        for (int column = 0; column + 1 < query.columns(); ++column)
            row.insert(query.name(column), query.value(column));
        row.insert(QStringLiteral("metadata"),
                   QJsonDocument::fromJson(query.text(query.columns() - 1).toUtf8())
                       .object()
                       .toVariantMap());
        rows.append(row);
    }
    if (status != SQLITE_DONE)
        return errorOf(m_db, "cannot read the catalogue");
    return rows;
}

qint64 LibraryCatalogue::currentProcessStart() {
    static const qint64 start = [] {
        QFile stat(QStringLiteral("/proc/self/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            return qint64(0);
        const QByteArray line = stat.readAll();
        // Field 22 is the start time; the command name in brackets may hold blanks.
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        return fields.size() > 19 ? fields.at(19).toLongLong() : qint64(0);
    }();
    return start;
}

bool LibraryCatalogue::ownerAlive(qint64 pid, qint64 start) {
    if (pid <= 0 || (kill(pid_t(pid), 0) != 0 && errno == ESRCH))
        return false;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true; // no way to tell: leave it alone
    const QByteArray line = stat.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    // A reused process id belongs to a process that started later.
    return fields.size() <= 19 || fields.at(19).toLongLong() == start;
}

} // namespace tolvane
