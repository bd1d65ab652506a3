// Extracts the raw file in argument 1 (a DNG) into 2 (a folder), for tests that make its file calls
// fail. Exit status: the outcome's number.

#include "ZQPluginSupport/original/OriginalExtraction.h"

int main(int count, char* arguments[])
{
    if (count != 3)
        return 100;
    return static_cast<int>(dng::extractOriginal(arguments[1], arguments[2]).outcome);
}
