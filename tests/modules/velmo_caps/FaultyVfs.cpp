#include "modules/velmo_caps/FaultyVfs.h"

#include <csignal>
#include <cstring>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

namespace velmo_caps {

namespace {

int gCallsBefore = -1; // not armed
FaultyVfs::Fault gFault = FaultyVfs::Fault::kError;
bool gHasHappened = false;
std::string gCall;
bool gRefusesSharedMemory = false;
bool gIsFull = false;
sqlite3_vfs* gReal = nullptr;

bool isDue(const char* call)
{
    if (gCallsBefore < 0 || gCallsBefore-- > 0)
        return false;
    gHasHappened = true;
    gCall = call;
    if (gFault == FaultyVfs::Fault::kKill)
        ::kill(::getpid(), SIGKILL);
    return true;
}

struct File {
    sqlite3_file base;
    sqlite3_file* real; // behind this one
};

sqlite3_file* real(sqlite3_file* file)
{
    return reinterpret_cast<File*>(file)->real;
}

int closeFile(sqlite3_file* file)
{
    return real(file)->pMethods->xClose(real(file));
}
int readFile(sqlite3_file* file, void* bytes, int count, sqlite3_int64 place)
{
    return isDue("read") ? SQLITE_IOERR_READ
                         : real(file)->pMethods->xRead(real(file), bytes, count, place);
}
int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 place)
{
    if (gIsFull)
        return SQLITE_FULL;
    return isDue("write") ? SQLITE_IOERR_WRITE
                          : real(file)->pMethods->xWrite(real(file), bytes, count, place);
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    return isDue("truncate") ? SQLITE_IOERR_TRUNCATE
                             : real(file)->pMethods->xTruncate(real(file), size);
}
int syncFile(sqlite3_file* file, int flags)
{
    return isDue("sync") ? SQLITE_IOERR_FSYNC : real(file)->pMethods->xSync(real(file), flags);
}
int sizeOfFile(sqlite3_file* file, sqlite3_int64* size)
{
    return isDue("size") ? SQLITE_IOERR_FSTAT : real(file)->pMethods->xFileSize(real(file), size);
}
int lockFile(sqlite3_file* file, int level)
{
    return isDue("lock") ? SQLITE_IOERR_LOCK : real(file)->pMethods->xLock(real(file), level);
}
// Never fails: a process that ends lets its locks go.
int unlockFile(sqlite3_file* file, int level)
{
    return real(file)->pMethods->xUnlock(real(file), level);
}
int checkReserved(sqlite3_file* file, int* result)
{
    return isDue("check") ? SQLITE_IOERR_CHECKRESERVEDLOCK
                          : real(file)->pMethods->xCheckReservedLock(real(file), result);
}
int controlFile(sqlite3_file* file, int operation, void* argument)
{
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}
int sectorSize(sqlite3_file* file)
{
    return real(file)->pMethods->xSectorSize(real(file));
}
int characteristics(sqlite3_file* file)
{
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}
int mapShared(sqlite3_file* file, int page, int size, int extend, volatile void** memory)
{
    if (gRefusesSharedMemory)
        return SQLITE_IOERR_SHMMAP;
    return isDue("map") ? SQLITE_IOERR_SHMMAP
                        : real(file)->pMethods->xShmMap(real(file), page, size, extend, memory);
}
int lockShared(sqlite3_file* file, int offset, int count, int flags)
{
    const bool isUnlock = (flags & SQLITE_SHM_UNLOCK) != 0;
    return !isUnlock && isDue("share")
        ? SQLITE_IOERR_SHMLOCK
        : real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}
void barrier(sqlite3_file* file)
{
    real(file)->pMethods->xShmBarrier(real(file));
}
int unmapShared(sqlite3_file* file, int deletes)
{
    return real(file)->pMethods->xShmUnmap(real(file), deletes);
}

const sqlite3_io_methods kMethods{2,
    closeFile,
    readFile,
    writeFile,
    truncateFile,
    syncFile,
    sizeOfFile,
    lockFile,
    unlockFile,
    checkReserved,
    controlFile,
    sectorSize,
    characteristics,
    mapShared,
    lockShared,
    barrier,
    unmapShared,
    nullptr,
    nullptr};

int openFile(sqlite3_vfs* /*self*/, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* const mine = reinterpret_cast<File*>(file);
    mine->base.pMethods = nullptr;
    if (isDue("open"))
        return SQLITE_CANTOPEN;
    mine->real = reinterpret_cast<sqlite3_file*>(mine + 1);
    const int code = gReal->xOpen(gReal, name, mine->real, flags, outFlags);
    if (code == SQLITE_OK)
        mine->base.pMethods = &kMethods;
    return code;
}
int deleteFile(sqlite3_vfs* /*self*/, const char* name, int syncs)
{
    return isDue("delete") ? SQLITE_IOERR_DELETE : gReal->xDelete(gReal, name, syncs);
}
int accessFile(sqlite3_vfs* /*self*/, const char* name, int flags, int* result)
{
    return isDue("access") ? SQLITE_IOERR_ACCESS : gReal->xAccess(gReal, name, flags, result);
}

sqlite3_vfs gVfs{};

} // namespace

FaultyVfs::FaultyVfs()
{
    gReal = sqlite3_vfs_find(nullptr);
    gVfs = *gReal;
    gVfs.pNext = nullptr;
    gVfs.zName = "faulty";
    gVfs.szOsFile = static_cast<int>(sizeof(File)) + gReal->szOsFile;
    gVfs.xOpen = openFile;
    gVfs.xDelete = deleteFile;
    gVfs.xAccess = accessFile;
    EXPECT_EQ(sqlite3_vfs_register(&gVfs, 1), SQLITE_OK);
    disarm();
    gRefusesSharedMemory = false;
    gIsFull = false;
}

FaultyVfs::~FaultyVfs()
{
    sqlite3_vfs_unregister(&gVfs);
}

void FaultyVfs::arm(int callsBefore, Fault fault)
{
    gCallsBefore = callsBefore;
    gFault = fault;
    gHasHappened = false;
    gCall.clear();
}

void FaultyVfs::disarm()
{
    gCallsBefore = -1;
}

bool FaultyVfs::hasHappened() const
{
    return gHasHappened;
}

std::string FaultyVfs::call() const
{
    return gCall;
}

void FaultyVfs::refuseSharedMemory(bool refuse)
{
    gRefusesSharedMemory = refuse;
}

void FaultyVfs::fillDisk(bool isFull)
{
    gIsFull = isFull;
}

} // namespace velmo_caps
