#pragma once
// What the fuzz targets share: the input cut into texts, and the check that
// stops a run when a rule the code promises is broken.
//
// Texts are read as UTF-16 code units (two bytes each), not as UTF-8, so the
// fuzzer reaches lone surrogates and every other unit a window title or an
// accessibility string can carry.

#include <QString>
#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

// Reads the input front to back; an exhausted reader gives zeros and empty
// texts.
class Input final {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    // UTF-16 text up to the next U+0000 or the end.
    QString text() {
        QString result;
        while (m_pos + 1 < m_size) {
            const char16_t unit = char16_t(m_data[m_pos] | (m_data[m_pos + 1] << 8));
            m_pos += 2;
            if (unit == 0) break;
            result.append(QChar(unit));
        }
        if (m_pos + 1 == m_size) ++m_pos;
        return result;
    }
    // The bytes up to the next NUL or the end.
    QByteArray bytes() {
        QByteArray result;
        while (m_pos < m_size && m_data[m_pos] != 0) result.append(char(m_data[m_pos++]));
        if (m_pos < m_size) ++m_pos;
        return result;
    }
    bool atEnd() const { return m_pos >= m_size; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

inline bool hasLoneSurrogate(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            ++i;
        } else if (text[i].isSurrogate()) {
            return true;
        }
    }
    return false;
}

// A broken promise is a finding: say which, and abort so libFuzzer keeps
// the input.
inline void require(bool condition, const char* promise) {
    if (condition) return;
    std::fprintf(stderr, "broken rule: %s\n", promise);
    std::abort();
}

// Two texts that must be equal; when they are not, both go to the log as
// UTF-16 code units before the run stops.
inline void requireEqual(const QString& actual, const QString& expected, const char* promise) {
    if (actual == expected) return;
    for (const QString* text : {&actual, &expected}) {
        for (const QChar c : *text) std::fprintf(stderr, "%04x ", unsigned(c.unicode()));
        std::fprintf(stderr, "\n");
    }
    require(false, promise);
}

}  // namespace fuzz
