#include "store/project/TRPSColor.h"

#include <QtEndian>
#include <cstring>

QByteArray TRPSColor::toBytes() const {
    QByteArray bytes(16, '\0');
    const float components[] = {red, green, blue, alpha};
    for (int i = 0; i < 4; ++i) {
        quint32 bits = 0;
        std::memcpy(&bits, &components[i], sizeof bits);
        qToLittleEndian(bits, bytes.data() + 4 * i);
    }
    return bytes;
}

std::optional<TRPSColor> TRPSColor::fromBytes(const QByteArray& bytes) {
    if (bytes.size() != 16) return std::nullopt;
    float components[4];
    for (int i = 0; i < 4; ++i) {
        const quint32 bits = qFromLittleEndian<quint32>(bytes.constData() + 4 * i);
        std::memcpy(&components[i], &bits, sizeof bits);
    }
    return TRPSColor{components[0], components[1], components[2], components[3]};
}

TRPSColor TRPSColor::baseColorWithIndex(long long index) {
    if (index < 0) return blackColor();
    static const TRPSColor kBase[] = {redColor(),        orangeColor(),    yellowColor(),
                                      greenColor(),      blueColor(),      lightPurpleColor(),
                                      lightGrayColor(),  whiteColor()};
    return kBase[index % 8];
}
