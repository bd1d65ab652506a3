// Copies arguments 1 (a file) into 2 (a folder) under the name 3, for tests that make its file
// calls fail. Exit status: 0 for a proven copy, else 1 plus the problem's number.

#include "platform/common/files/FileCopy.h"

int main(int count, char* arguments[])
{
    if (count != 4)
        return 100;
    const Pt::CopyResult result = Pt::copyFile(arguments[1], arguments[2], arguments[3]);
    return result.isProven() ? 0 : 1 + static_cast<int>(result.problem);
}
