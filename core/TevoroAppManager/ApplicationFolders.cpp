#include "TevoroAppManager/ApplicationFolders.h"

#include "platform/common/services/UserFolders.h"

QString getMyPicturesPath()
{
    return QString::fromStdString(Pt::picturesFolder());
}

QString getApplicationDataFolderPath()
{
    return QString::fromStdString(Pt::userApplicationData());
}

// These three are questions of another system. They keep their names and have fixed answers here.
int getApplicationPath(unsigned short*)
{
    return 1;
}

int getCommonSettingsStr(const unsigned short*, const unsigned short*, unsigned short*, int)
{
    return 1;
}

int IsWindowsNT()
{
    return 0;
}
