// A layer over the default files of the engine that forwards everything and counts the writes.
#include "support/faulty_vfs.h"

#include <sqlite3.h>

#include <cstring>

namespace lanefeed_test {
namespace {

struct Counts {
    int failAt = 0;
    int code = SQLITE_FULL;
    int writes = 0;
};

// The files of the wrapped layer follow this one in memory, as the engine allots it in one piece.
struct WrappedFile {
    sqlite3_file base;
    Counts* counts;
    sqlite3_file* inner() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

WrappedFile* wrapped(sqlite3_file* file) {
    return reinterpret_cast<WrappedFile*>(file);
}

sqlite3_file* innerOf(sqlite3_file* file) {
    return wrapped(file)->inner();
}

int closeFile(sqlite3_file* f) {
    return innerOf(f)->pMethods->xClose(innerOf(f));
}
int readFile(sqlite3_file* f, void* to, int bytes, sqlite3_int64 at) {
    return innerOf(f)->pMethods->xRead(innerOf(f), to, bytes, at);
}
int writeFile(sqlite3_file* f, const void* from, int bytes, sqlite3_int64 at) {
    Counts& counts = *wrapped(f)->counts;
    if (++counts.writes == counts.failAt) return counts.code;
    return innerOf(f)->pMethods->xWrite(innerOf(f), from, bytes, at);
}
int truncateFile(sqlite3_file* f, sqlite3_int64 size) {
    return innerOf(f)->pMethods->xTruncate(innerOf(f), size);
}
int syncFile(sqlite3_file* f, int flags) {
    return innerOf(f)->pMethods->xSync(innerOf(f), flags);
}
int sizeOfFile(sqlite3_file* f, sqlite3_int64* size) {
    return innerOf(f)->pMethods->xFileSize(innerOf(f), size);
}
int lockFile(sqlite3_file* f, int level) {
    return innerOf(f)->pMethods->xLock(innerOf(f), level);
}
int unlockFile(sqlite3_file* f, int level) {
    return innerOf(f)->pMethods->xUnlock(innerOf(f), level);
}
int checkLock(sqlite3_file* f, int* out) {
    return innerOf(f)->pMethods->xCheckReservedLock(innerOf(f), out);
}
int controlFile(sqlite3_file* f, int op, void* arg) {
    return innerOf(f)->pMethods->xFileControl(innerOf(f), op, arg);
}
int sectorSize(sqlite3_file* f) {
    return innerOf(f)->pMethods->xSectorSize(innerOf(f));
}
int characteristics(sqlite3_file* f) {
    return innerOf(f)->pMethods->xDeviceCharacteristics(innerOf(f));
}

// Version 1: without shared memory and mapping, so that all writes come through here.
const sqlite3_io_methods kMethods = {
    1,        closeFile,  readFile,  writeFile,   truncateFile, syncFile,        sizeOfFile,
    lockFile, unlockFile, checkLock, controlFile, sectorSize,   characteristics, nullptr,
    nullptr,  nullptr,    nullptr,   nullptr,     nullptr};

}  // namespace

struct FaultyVfs::State {
    sqlite3_vfs vfs{};
    sqlite3_vfs* inner = nullptr;
    Counts counts;
};

FaultyVfs::FaultyVfs(int failAt, Fault fault) : m_state(std::make_unique<State>()) {
    m_state->counts.failAt = failAt;
    m_state->counts.code = fault == Fault::diskFull ? SQLITE_FULL : SQLITE_IOERR_WRITE;
    m_state->inner = sqlite3_vfs_find(nullptr);
    m_state->vfs = *m_state->inner;
    sqlite3_vfs& vfs = m_state->vfs;
    vfs.zName = "faulty";
    vfs.szOsFile = static_cast<int>(sizeof(WrappedFile)) + m_state->inner->szOsFile;
    vfs.pAppData = m_state.get();
    vfs.xOpen = [](sqlite3_vfs* self, const char* name, sqlite3_file* file, int flags, int* out) {
        auto* state = static_cast<State*>(self->pAppData);
        file->pMethods = nullptr;
        wrapped(file)->counts = &state->counts;
        const int code = state->inner->xOpen(state->inner, name, innerOf(file), flags, out);
        if (code == SQLITE_OK) file->pMethods = &kMethods;
        return code;
    };
    vfs.xDelete = [](sqlite3_vfs* self, const char* name, int sync) {
        auto* inner = static_cast<State*>(self->pAppData)->inner;
        return inner->xDelete(inner, name, sync);
    };
    vfs.xAccess = [](sqlite3_vfs* self, const char* name, int flags, int* out) {
        auto* inner = static_cast<State*>(self->pAppData)->inner;
        return inner->xAccess(inner, name, flags, out);
    };
    vfs.xFullPathname = [](sqlite3_vfs* self, const char* name, int bytes, char* out) {
        auto* inner = static_cast<State*>(self->pAppData)->inner;
        return inner->xFullPathname(inner, name, bytes, out);
    };
    sqlite3_vfs_register(&vfs, 1);
}

FaultyVfs::~FaultyVfs() {
    sqlite3_vfs_unregister(&m_state->vfs);
    sqlite3_vfs_register(m_state->inner, 1);
}

int FaultyVfs::writes() const {
    return m_state->counts.writes;
}

}  // namespace lanefeed_test
