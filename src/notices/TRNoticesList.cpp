#include "notices/TRNoticesList.h"

#include <QStringList>
#include <cstdlib>
#include <memory>

#include <plist/plist.h>

namespace {

using PlistHandle = std::unique_ptr<void, decltype(&plist_free)>;

QString stringValue(plist_t dictionary, const char* key) {
    const plist_t node = plist_dict_get_item(dictionary, key);
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return {};
    char* value = nullptr;
    plist_get_string_val(node, &value);
    const QString text = QString::fromUtf8(value);
    std::free(value);
    return text;
}

TRNotice noticeFromDictionary(plist_t dictionary) {
    TRNotice notice;
    notice.title = stringValue(dictionary, "Title");
    notice.message = stringValue(dictionary, "Message");
    notice.actionURL = stringValue(dictionary, "ActionURL");
    notice.actionButton = stringValue(dictionary, "ActionButton");
    notice.minVersion = stringValue(dictionary, "MinVersion");
    notice.maxVersion = stringValue(dictionary, "MaxVersion");
    return notice;
}

TRError notAList() {
    return TRError(QString::fromLatin1(kNoticesErrorDomain), 1,
                   QStringLiteral("The notices list is not a property list of notices."));
}

}  // namespace

namespace TRNoticesList {

std::variant<TRNotices, TRError> noticesFromPropertyList(const QByteArray& data) {
    if (data.isEmpty()) return notAList();
    plist_t parsed = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &parsed);
    const PlistHandle root(parsed, &plist_free);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return notAList();
    TRNotices notices;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(root.get(), &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root.get(), iterator, &key, &value);
        if (key == nullptr) break;
        if (value != nullptr && plist_get_node_type(value) == PLIST_DICT) {
            notices.emplace(QString::fromUtf8(key), noticeFromDictionary(value));
        }
        std::free(key);
    }
    std::free(iterator);
    return notices;
}

int compareVersions(const QString& left, const QString& right) {
    const QStringList leftPieces = left.split(QLatin1Char('.'));
    const QStringList rightPieces = right.split(QLatin1Char('.'));
    const qsizetype count = std::max(leftPieces.size(), rightPieces.size());
    for (qsizetype i = 0; i < count; ++i) {
        // A missing or non-numeric piece reads as 0.
        const qlonglong l = i < leftPieces.size() ? leftPieces[i].trimmed().toLongLong() : 0;
        const qlonglong r = i < rightPieces.size() ? rightPieces[i].trimmed().toLongLong() : 0;
        if (l != r) return l < r ? -1 : 1;
    }
    return 0;
}

bool isForVersion(const TRNotice& notice, const QString& applicationVersion) {
    if (!notice.minVersion.isEmpty() &&
        compareVersions(notice.minVersion, applicationVersion) > 0) {
        return false;
    }
    return notice.maxVersion.isEmpty() ||
           compareVersions(notice.maxVersion, applicationVersion) >= 0;
}

std::optional<QString> chosenKey(const TRNotices& notices, bool oldestFirst) {
    if (notices.empty()) return std::nullopt;
    return oldestFirst ? notices.begin()->first : notices.rbegin()->first;
}

}  // namespace TRNoticesList
