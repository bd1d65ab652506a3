// The host's process: labels are measured with fonts, which need an application object. One without
// widgets, so that the plug-in opens no dialog, which would wait for somebody.

#include <QGuiApplication>

#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
