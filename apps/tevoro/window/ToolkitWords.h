// What the toolkit brings along itself, the buttons of its dialogs and the menus of its text lines,
// in the language of all other texts, as long as the object lives: by the toolkit's own
// dictionaries (qtbase_de.qm and the like). Where those are not installed it stays English.
#pragma once

#include <QTranslator>

#include <string>

namespace tevoro {

class ToolkitWords {
public:
    // With an application object. The locale is one of ours, such as "de_de".
    explicit ToolkitWords(const std::string& locale);

private:
    QTranslator m_translator; // removes itself
};

} // namespace tevoro
