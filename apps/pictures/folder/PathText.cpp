#include "pictures/folder/PathText.h"

#include "platform/common/text/NameText.h"

namespace pictures {

namespace {

constexpr char16_t kBytes = 0xDC00; // a byte above 0x7F, as the half of a character

QString characterText(std::string_view bytes, const Pt::NameCharacter& character)
{
    if (character.valid)
        return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    return QChar(static_cast<char16_t>(kBytes + (character.code & 0xFF)));
}

bool isByte(QChar unit)
{
    return unit.unicode() > kBytes + 0x7F && unit.unicode() <= kBytes + 0xFF;
}

} // namespace

QString pathText(QByteArrayView bytes)
{
    const std::string_view name(bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (Pt::isUtf8(name))
        return QString::fromUtf8(bytes);
    QString text;
    for (std::size_t at = 0; at < name.size();) {
        const Pt::NameCharacter next = Pt::nameCharacterAt(name, at);
        text += characterText(name.substr(at, next.length), next);
        at += next.length;
    }
    return text;
}

std::string pathBytes(const QString& path)
{
    std::string bytes;
    qsizetype begin = 0; // of what is UTF-8
    const auto add = [&](qsizetype end) {
        bytes += QStringView(path).sliced(begin, end - begin).toUtf8().toStdString();
    };
    for (qsizetype at = 0; at < path.size(); ++at) {
        const bool isHalf = at == 0 || !path[at - 1].isHighSurrogate();
        if (!isHalf || !isByte(path[at]))
            continue;
        add(at);
        bytes += static_cast<char>(path[at].unicode() - kBytes);
        begin = at + 1;
    }
    add(path.size());
    return bytes;
}

QString displayText(const QString& path)
{
    return QString::fromStdString(Pt::terminalText(pathBytes(path)));
}

} // namespace pictures
