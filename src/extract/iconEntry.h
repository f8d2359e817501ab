#pragma once
// The first eight bytes of an icon directory entry, which an .ico file and a group-icon
// resource lay out alike: width, height, colour count, reserved, planes, bits per pixel. They
// differ only in what follows (the image's size and offset, or the icon resource's number).
#include "extract/ByteView.h"
#include "extract/cFileIcon.h"

namespace velmar {

inline IconDirectoryEntry ReadIconEntryHead(const ByteView& bytes, std::uint64_t at) {
    IconDirectoryEntry e;
    e.Width = bytes.u8(at);
    e.Height = bytes.u8(at + 1);
    e.ColorCount = bytes.u8(at + 2);
    e.Reserved = bytes.u8(at + 3);
    e.Planes = bytes.u16(at + 4);
    e.BitCount = bytes.u16(at + 6);
    return e;
}

} // namespace velmar
