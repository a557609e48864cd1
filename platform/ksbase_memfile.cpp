// MemFile: a read-only cursor over a caller-owned buffer. The position never
// leaves [0, size], so Current() and Remaining() are always valid.
#include <cstring>

#include "ksbase.h"

MemFile::MemFile(const void* data, uint size)
    : data_(static_cast<const uchar*>(data)), size_(data ? size : 0), pos_(0) {}

int MemFile::Seek(long offset, int whence) {
    long long base;
    switch (whence) {
        case SeekSet: base = 0; break;
        case SeekCur: base = pos_; break;
        case SeekEnd: base = size_; break;
        default: return -1;
    }
    // Compared against the room on each side, so no sum can overflow.
    const long long off = offset;
    if (off < -base || off > static_cast<long long>(size_) - base) return -1;
    pos_ = static_cast<uint>(base + off);
    return 0;
}

long MemFile::Tell() const { return static_cast<long>(pos_); }

uint MemFile::Read(void* dst, uint n) {
    const uint take = n < size_ - pos_ ? n : size_ - pos_;
    if (take == 0) return 0;
    std::memcpy(dst, data_ + pos_, take);
    pos_ += take;
    return take;
}
