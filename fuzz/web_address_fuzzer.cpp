// Web addresses and file paths cut into path components: the address rules
// (host without "www.", port, segments, query, the level limit) and the path
// rules (components at "/", the temporary folders collapsed).
//
// Input: a level byte, a kind byte (which detail carries the text and which
// scheme goes in front of it), then the text as UTF-16.
#include <array>

#include "FuzzSupport.h"
#include "core/StringAdditions.h"
#include "store/activity/TRActivityComponents.h"

namespace {

const std::array<const char*, 6> kSchemes = {"", "http://", "https://", "ftp://", "file://",
                                             "/var/folders/"};

TRActivityDetails detailsFor(int kind, const QString& text) {
    TRActivityDetails details;
    switch (kind % 3) {
        case 0: details.setDocumentPath(text); break;
        case 1: details.setDocumentTitle(text); break;
        default: details.setWindowTitle(text); break;
    }
    return details;
}

bool isWebAddress(const QString& text) {
    return text.startsWith(QLatin1String("http://")) ||
           text.startsWith(QLatin1String("https://")) ||
           text.startsWith(QLatin1String("ftp://"));
}

// An address without a host in a title is cut like any title.
QStringList cutAsTitle(const QString& text) {
    QStringList components = StringAdditions::componentsSeparatedByIncludedCharactersInSet(
        text, QStringLiteral("/-\u2014:\u203A"));
    for (QString& component : components)
        component = TRActivityComponents::withoutLoneSurrogates(component);
    return components;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const int maxLevel = int(input.byte() % 9) - 1;  // -1 keeps everything
    const std::uint8_t kind = input.byte();
    const QString text =
        QString::fromLatin1(kSchemes[(kind / 3) % kSchemes.size()]) + input.text();
    const TRActivityDetails details = detailsFor(kind, text);
    bool askedForLevel = false;
    const QStringList components = TRActivityComponents::componentsForDetails(details, [&] {
        askedForLevel = true;
        return maxLevel;
    });
    for (const QString& component : components) {
        fuzz::require(!component.isEmpty(), "no component is empty");
        fuzz::require(!fuzz::hasLoneSurrogate(component), "no component holds a lone surrogate");
    }
    if (askedForLevel) {
        fuzz::require(isWebAddress(text), "only web addresses ask for the level limit");
        if (maxLevel == 0) fuzz::require(components.isEmpty(), "level 0 keeps nothing");
        if (maxLevel > 0 && components.size() > maxLevel)
            fuzz::require(components == (kind % 3 == 0 ? TRActivityComponents::componentsForPath(text)
                                                       : cutAsTitle(text)),
                          "more than maxURLTrackingLevel components only for an address without "
                          "a host, which is cut as a path or title");
    }
    const QStringList again = TRActivityComponents::componentsForDetails(details, [&] { return maxLevel; });
    fuzz::require(again == components, "the same details give the same components");
    return 0;
}
