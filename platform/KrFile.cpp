// Whole-file access for the XML tree: plain POSIX descriptors behind small negative codes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/KrPlatform.h"
#include "platform/internal/KrUnicode.h"

extern "C" {

int KR_OpenFile(const wchar_t *path, int mode) {
    if (!path || (mode != KR_FILE_READ && mode != KR_FILE_WRITE)) return -1;
    std::string name = orvik::platform::utf16ToUtf8(path);
    if (name.empty()) return -1;
    int flags = mode == KR_FILE_READ ? O_RDONLY : (O_WRONLY | O_CREAT | O_TRUNC);
    int fd;
    do {
        fd = ::open(name.c_str(), flags | O_CLOEXEC, 0644);
    } while (fd < 0 && errno == EINTR);
    return fd < 0 ? -2 : fd;
}

kr_int64 KR_GetFileSize(int handle) {
    if (handle < 0) return -1;
    struct stat st;
    if (::fstat(handle, &st) != 0) return -1;
    return static_cast<kr_int64>(st.st_size);
}

kr_int64 KR_ReadFile(int handle, void *buffer, kr_int64 size) {
    if (handle < 0 || size < 0 || (!buffer && size > 0)) return -1;
    char *p = static_cast<char *>(buffer);
    kr_int64 done = 0;
    while (done < size) {
        ssize_t n = ::read(handle, p + done, static_cast<size_t>(size - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return -3;
        }
        if (n == 0) break;
        done += n;
    }
    return done;
}

kr_int64 KR_WriteFile(int handle, const void *buffer, kr_int64 size) {
    if (handle < 0 || size < 0 || (!buffer && size > 0)) return -1;
    const char *p = static_cast<const char *>(buffer);
    kr_int64 done = 0;
    while (done < size) {
        ssize_t n = ::write(handle, p + done, static_cast<size_t>(size - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return -3;
        }
        done += n;
    }
    return done;
}

int KR_CloseFile(int handle) {
    if (handle < 0) return -1;
    return ::close(handle) == 0 ? 0 : -3;
}

}  // extern "C"
