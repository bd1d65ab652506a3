// The person in front of a modal dialog: acts on it while it runs, and finds its widgets by the
// names that they have. For the thread that runs the dialog.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QString>
#include <QTest>
#include <QTimer>

#include <functional>
#include <stdexcept>
#include <string>

namespace test {

// The child of that name; throws when there is none, so that a test fails and does not crash.
template <typename Widget>
Widget& childOf(const QWidget& parent, const char* name)
{
    auto* child = parent.findChild<Widget*>(QString::fromUtf8(name));
    if (!child)
        throw std::runtime_error(std::string("no widget ") + name);
    return *child;
}

template <typename Widget>
bool hasChild(const QWidget& parent, const char* name)
{
    return parent.findChild<Widget*>(QString::fromUtf8(name)) != nullptr;
}

// Runs `action` on the modal dialog that is opened next. A dialog that the action does not end is
// ended with kStillOpen, so that no test waits for ever.
inline constexpr int kStillOpen = -99;

inline void onNextDialog(const std::function<void(QDialog&)>& action)
{
    QTimer::singleShot(0, qApp, [action] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        static_cast<void>(QTest::qWaitForWindowActive(dialog));
        action(*dialog);
        if (dialog->isVisible())
            dialog->done(kStillOpen);
    });
}

inline void pressKeyOnNextDialog(Qt::Key key)
{
    onNextDialog([key](QDialog& dialog) {
        QWidget* focus = dialog.focusWidget();
        QTest::keyClick(focus ? focus : &dialog, key);
    });
}

inline void clickOnNextDialog(const char* button)
{
    const std::string name = button;
    onNextDialog([name](QDialog& dialog) {
        QTest::mouseClick(&childOf<QPushButton>(dialog, name.c_str()), Qt::LeftButton);
    });
}

} // namespace test
