#include "PropertyList.h"

#include "platform/RegularFile.h"

#include <QDateTime>
#include <QSaveFile>
#include <QTimeZone>

#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace tolvane {

namespace {

// Seconds from the Unix epoch to the property-list epoch, 2001-01-01 00:00:00 UTC.
constexpr qint64 plistEpochOffset = 978307200;
// Deeper nesting than this is treated as damage, not data.
constexpr int maximumDepth = 256;

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};
using CString = std::unique_ptr<char, FreeDeleter>;

QString takeString(char* text) {
    return QString::fromUtf8(CString(text).get());
}

bool convert(plist_t node, QVariant& out, int depth);

bool convertDictionary(plist_t node, OrderedDictionary& entries, int depth) {
    plist_dict_iter iter = nullptr;
    plist_dict_new_iter(node, &iter);
    if (!iter)
        return true;
    bool ok = true;
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iter, &key, &value);
        if (!value) {
            std::free(key);
            break;
        }
        QVariant converted;
        const QString name = takeString(key);
        if (!convert(value, converted, depth + 1)) {
            ok = false;
            break;
        }
        entries.append({name, converted});
    }
    std::free(iter);
    return ok;
}

bool convert(plist_t node, QVariant& out, int depth) {
    if (depth > maximumDepth)
        return false;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        out = bool(value);
        return true;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        // libplist keeps negative integers as their two's complement.
        out = qlonglong(static_cast<int64_t>(value));
        return true;
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        out = value;
        return true;
    }
    case PLIST_STRING: {
        // With its stored length: the copying accessor asserts that the text holds no NUL.
        uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        out = text ? QString::fromUtf8(text, qsizetype(length)) : QString(QLatin1String(""));
        return true;
    }
    case PLIST_DATA: {
        char* bytes = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &bytes, &length);
        CString owner(bytes);
        out = bytes ? QByteArray(bytes, qsizetype(length)) : QByteArray("");
        return true;
    }
    case PLIST_DATE: {
        int32_t seconds = 0;
        int32_t micros = 0;
        plist_get_date_val(node, &seconds, &micros);
        const qint64 ms = (plistEpochOffset + seconds) * 1000 + micros / 1000;
        out = QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc());
        return true;
    }
    case PLIST_UID: {
        uint64_t value = 0;
        plist_get_uid_val(node, &value);
        out = qulonglong(value);
        return true;
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t count = plist_array_get_size(node);
        list.reserve(count);
        for (uint32_t i = 0; i < count; ++i) {
            QVariant item;
            if (!convert(plist_array_get_item(node, i), item, depth + 1))
                return false;
            list.append(item);
        }
        out = list;
        return true;
    }
    case PLIST_DICT: {
        OrderedDictionary entries;
        if (!convertDictionary(node, entries, depth))
            return false;
        QVariantMap map;
        for (const auto& [key, value] : std::as_const(entries))
            map.insert(key, value);
        out = map;
        return true;
    }
    default:
        return false;
    }
}

const QString tooDeep = QStringLiteral("nested too deeply or of an unknown type");

Result<PlistPtr> parse(const QByteArray& data) {
    if (data.isEmpty())
        return Failure(QStringLiteral("the file is empty"));
    if (data.size() > PropertyListReader::maximumFileSize)
        return Failure(QStringLiteral("too large for a property list (%1 bytes)").arg(data.size()));
    plist_t root = nullptr;
    const bool binary = plist_is_binary(data.constData(), uint32_t(data.size()));
    if (binary) {
        plist_from_bin(data.constData(), uint32_t(data.size()), &root);
        if (!root)
            return Failure(QStringLiteral("damaged binary property list"));
    } else {
        // XML cannot hold a NUL character at all, and the parser would keep one inside a text.
        if (data.contains('\0'))
            return Failure(QStringLiteral("not a property list (a NUL byte in its XML)"));
        plist_from_xml(data.constData(), uint32_t(data.size()), &root);
        if (!root)
            return Failure(QStringLiteral("not a property list (malformed or truncated XML)"));
    }
    return PlistPtr(root);
}

Result<PlistPtr> parseFile(const QString& path) {
    const Result<QByteArray> data = RegularFile::readAll(path, PropertyListReader::maximumFileSize);
    if (!data)
        return data.failure();
    Result<PlistPtr> root = parse(*data);
    if (!root)
        return Failure(root.failure().message(), path);
    return root;
}

plist_t toNode(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::Char:
    case QMetaType::SChar:
        return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return plist_new_uint(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime:
    case QMetaType::QDate: {
        const qint64 ms = value.toDateTime().toMSecsSinceEpoch() - plistEpochOffset * 1000;
        return plist_new_date(int32_t(ms / 1000), int32_t((ms % 1000) * 1000));
    }
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash: {
        plist_t dict = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            plist_dict_set_item(dict, it.key().toUtf8().constData(), toNode(it.value()));
        return dict;
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        plist_t array = plist_new_array();
        const QVariantList list = value.toList();
        for (const QVariant& item : list)
            plist_array_append_item(array, toNode(item));
        return array;
    }
    default:
        return plist_new_string(value.toString().toUtf8().constData());
    }
}

} // namespace

Result<QVariant> PropertyListReader::fromData(const QByteArray& data) {
    const Result<PlistPtr> root = parse(data);
    if (!root)
        return root.failure();
    QVariant value;
    if (!convert(root->get(), value, 0))
        return Failure(tooDeep);
    return value;
}

Result<QVariant> PropertyListReader::read(const QString& path) {
    const Result<PlistPtr> root = parseFile(path);
    if (!root)
        return root.failure();
    QVariant value;
    if (!convert(root->get(), value, 0))
        return Failure(tooDeep, path);
    return value;
}

Result<QVariantMap> PropertyListReader::readDictionary(const QString& path) {
    const Result<QVariant> value = read(path);
    if (!value)
        return value.failure();
    if (value->typeId() != QMetaType::QVariantMap)
        return Failure(QStringLiteral("the top level is not a dictionary"), path);
    return value->toMap();
}

Result<OrderedDictionary> PropertyListReader::readOrderedDictionary(const QString& path) {
    const Result<PlistPtr> root = parseFile(path);
    if (!root)
        return root.failure();
    if (plist_get_node_type(root->get()) != PLIST_DICT)
        return Failure(QStringLiteral("the top level is not a dictionary"), path);
    OrderedDictionary entries;
    if (!convertDictionary(root->get(), entries, 0))
        return Failure(tooDeep, path);
    return entries;
}

QByteArray PropertyListWriter::toXml(const QVariant& value) {
    PlistPtr root(toNode(value));
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root.get(), &xml, &length);
    CString owner(xml);
    return QByteArray(xml, qsizetype(length));
}

QByteArray PropertyListWriter::toBinary(const QVariant& value) {
    PlistPtr root(toNode(value));
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    CString owner(bytes);
    return QByteArray(bytes, qsizetype(length));
}

Status PropertyListWriter::writeXml(const QString& path, const QVariant& value) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure(file.errorString(), path);
    const QByteArray xml = toXml(value);
    if (file.write(xml) != xml.size() || !file.commit())
        return Failure(file.errorString(), path);
    return {};
}

} // namespace tolvane
