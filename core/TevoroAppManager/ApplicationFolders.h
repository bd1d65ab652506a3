// Folders of the user, as texts of the sink. Plain functions without state.
#pragma once

#include <QString>

// The user's pictures folder.
QString getMyPicturesPath();

// The folder in which applications keep their data for this user.
QString getApplicationDataFolderPath();

// Leaves the buffer alone and returns 1.
int getApplicationPath(unsigned short* buffer);

// Does nothing and returns 1.
int getCommonSettingsStr(
    const unsigned short* a, const unsigned short* b, unsigned short* c, int d);

// Returns 0.
int IsWindowsNT();
