#include "strings/ApplicationLocale.h"

#include "platform/common/services/UserFolders.h"
#include "platform/common/text/AppPreferences.h"
#include "platform/common/text/PropertyList.h"
#include "platform/common/text/PtUcs.h"
#include "platform/common/text/SystemLocale.h"
#include "strings/PtZString.h"

#include <QFile>
#include <QString>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

struct TokenRow {
    QLatin1StringView token;
    QLatin1StringView locale;
};

// Languages without a dictionary have a row, too: their users see the default texts, and a folder
// of that name is all that a new translation needs. Belgian Dutch and both names of Norwegian share
// one dictionary each.
constexpr std::array kTokens{
    TokenRow{"ja"_L1, "ja_jp"_L1},
    TokenRow{"de"_L1, "de_de"_L1},
    TokenRow{"fr"_L1, "fr_fr"_L1},
    TokenRow{"es"_L1, "es_es"_L1},
    TokenRow{"it"_L1, "it_it"_L1},
    TokenRow{"sv"_L1, "sv_se"_L1},
    TokenRow{"nl"_L1, "nl_nl"_L1},
    TokenRow{"nl_be"_L1, "nl_nl"_L1},
    TokenRow{"ko"_L1, "ko_kr"_L1},
    TokenRow{"pt"_L1, "pt_br"_L1},
    TokenRow{"ar"_L1, "ar_ae"_L1},
    TokenRow{"cs"_L1, "cs_cz"_L1},
    TokenRow{"da"_L1, "da_dk"_L1},
    TokenRow{"el"_L1, "el_gr"_L1},
    TokenRow{"fi"_L1, "fi_fi"_L1},
    TokenRow{"he"_L1, "he_il"_L1},
    TokenRow{"hu"_L1, "hu_hu"_L1},
    TokenRow{"no"_L1, "no_no"_L1},
    TokenRow{"nb"_L1, "no_no"_L1},
    TokenRow{"nb_no"_L1, "no_no"_L1},
    TokenRow{"pl"_L1, "pl_pl"_L1},
    TokenRow{"ro"_L1, "ro_ro"_L1},
    TokenRow{"ru"_L1, "ru_ru"_L1},
    TokenRow{"tr"_L1, "tr_tr"_L1},
    TokenRow{"uk"_L1, "uk_ua"_L1},
};

constexpr qint64 kConfigurationLimit = 1 << 20; // bytes; a configuration is a few hundred

// An empty setting counts as none, so that the next source is asked.
std::optional<QString> normalised(const QString& text)
{
    if (text.isEmpty())
        return std::nullopt;
    QString token = text.toLower().trimmed();
    GetLocaleFromToken(token);
    return token;
}

// The host's configuration, in its working folder, names the application whose language setting
// holds.
std::optional<QString> configuredLocale()
{
    QFile file(u"./mfx_common_config.xml"_s);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kConfigurationLimit)
        return std::nullopt;
    const auto domain = Pt::propertyListText(file.readAll().toStdString(), "AppPreferenceID");
    if (!domain)
        return std::nullopt;
    const auto language = Pt::appPreference(*domain, "Language");
    return language ? normalised(QString::fromStdString(*language)) : std::nullopt;
}

QByteArray withoutLineEnd(QByteArray line)
{
    // The file may have been written with either kind of line end.
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

// The file's name is a text with a key, so a dictionary that is already open can name another file.
// While the first dictionary is being chosen, none is open, and the name is the default given here.
std::optional<QString> machineLocale()
{
    const QString name = PtZString::getZString(
        u"$$$/AppUtils/VelmoDefaultlanguageMac=/Velmo/VelmoDefaultLanguage.txt"_s);
    const auto path = Pt::machineApplicationDataFile(name.toStdString());
    if (!path)
        return std::nullopt;
    QFile file(QString::fromStdString(*path));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    // A line that does not fit into the caller's buffer is cut here rather than rejected.
    const QByteArray line = withoutLineEnd(file.readLine(kApplicationLocaleCapacity));
    return normalised(QString::fromUtf8(line));
}

// Not trimmed, unlike the other two: the system's locale is no text that people type.
std::optional<QString> currentLocale()
{
    const auto locale = Pt::systemLocale();
    if (!locale)
        return std::nullopt;
    QString token = QString::fromStdString(*locale).toLower();
    GetLocaleFromToken(token);
    return token;
}

// These three have one dictionary for all their territories. The two letters of the language are
// enough to tell: en_gb, es_mx and fr_ca end up here.
QString oneLocaleForEachLanguage(const QString& locale)
{
    for (const auto whole : {"en_us"_L1, "es_es"_L1, "fr_fr"_L1})
        if (locale.startsWith(whole.first(2)))
            return whole;
    return locale;
}

// From the most specific to the most general: what the user chose for this host, what the machine
// was set up for, what the environment says.
std::optional<QString> chosenLocale()
{
    std::optional<QString> found = configuredLocale();
    if (!found)
        found = machineLocale();
    return found ? found : currentLocale();
}

} // namespace

void GetLocaleFromToken(QString& token)
{
    for (const TokenRow& row : kTokens) {
        if (token == row.token) {
            token = row.locale;
            return;
        }
    }
}

int getApplicationLocale(unsigned short* buffer)
{
    const std::optional<QString> found = chosenLocale();
    const QString locale = found ? oneLocaleForEachLanguage(found->toLower()) : u"en_us"_s;
    // One unit is left for the terminator that ptucscpy writes.
    ptucscpy(buffer,
        reinterpret_cast<const unsigned short*>(
            locale.left(kApplicationLocaleCapacity - 1).utf16()));
    return 1;
}
