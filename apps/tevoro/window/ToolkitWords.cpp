#include "tevoro/window/ToolkitWords.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace tevoro {

ToolkitWords::ToolkitWords(const std::string& locale)
{
    const QString language = QString::fromStdString(locale).section(QLatin1Char('_'), 0, 0);
    if (m_translator.load(QLatin1String("qtbase_") + language,
            QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_translator);
}

} // namespace tevoro
