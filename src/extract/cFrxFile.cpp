#include "extract/cFrxFile.h"

#include "formats/gateway.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>
#include <system_error>

namespace velmar {

namespace {

// "lt" and two zero bytes: the mark of a picture record written by the form designer.
constexpr std::int64_t kPictureMark = 29804;
constexpr std::uint32_t kPlaceableKey = 2596720087u;
constexpr std::uint32_t kEnhancedSignature = 1179469088u; // " EMF"
constexpr std::uint32_t kIconStart = 65536u;              // reserved 0, type 1
constexpr std::uint32_t kCursorStart = 131072u;           // reserved 0, type 2

// Little-endian loads; callers have checked that the bytes are there. The scan makes several
// at every byte of a file it cannot explain, so they are single loads.
std::uint32_t u32(std::span<const std::uint8_t> b, std::size_t i) {
    std::uint32_t v;
    std::memcpy(&v, b.data() + i, sizeof v);
    if constexpr (std::endian::native == std::endian::big)
        v = (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
    return v;
}

std::uint32_t u16(std::span<const std::uint8_t> b, std::size_t i) {
    return b[i] | (std::uint32_t{b[i + 1]} << 8);
}

// Lengths in record headers are signed 32-bit values; sums are made in 64 bits, so a corrupt
// value can neither overflow nor wrap into a believable one.
std::int64_t s32(std::span<const std::uint8_t> b, std::size_t i) {
    return static_cast<std::int32_t>(u32(b, i));
}

// The plain-metafile test reads the header as a record whose 32-bit size is aligned to offset 8
// and whose header size counts bytes; kept as it is, so that listings match the ones users know.
bool plainMetafile(std::span<const std::uint8_t> b) {
    return b.size() >= 18 && u16(b, 2) == 18 && u32(b, 8) == b.size();
}

// The first image of an icon or cursor directory starts with a 40-byte bitmap header.
bool firstImageIsBitmap(std::span<const std::uint8_t> b) {
    if (b.size() < 22) return false;
    const std::uint64_t offset = u32(b, 18);
    return offset + 4 <= b.size() && u32(b, static_cast<std::size_t>(offset)) == 40;
}

struct RecordHeader {
    int form = 0; // 1, 2, 3; 0 when fewer than 4 bytes are left
    int size = 0;
    std::int64_t length = 0;
};

// The three header forms, tried in this order: a picture record, a picture record with a
// 16-byte prefix, and a bare 4-byte length.
RecordHeader readHeader(std::span<const std::uint8_t> f, std::size_t p) {
    const std::span<const std::uint8_t> h = f.subspan(p);
    if (h.size() >= 12 && s32(h, 4) == kPictureMark && s32(h, 0) - 8 == s32(h, 8))
        return {1, 12, s32(h, 8)};
    if (h.size() >= 28 && s32(h, 20) == kPictureMark && s32(h, 0) - 24 == s32(h, 24))
        return {2, 28, s32(h, 24)};
    if (h.size() >= 4) return {3, 4, s32(h, 0)};
    return {};
}

struct TypeNames {
    std::string_view name, extension;
};

constexpr std::array<TypeNames, 9> kTypeNames = {{
    {"Binary data", "txt"},
    {"Bitmap Image", "bmp"},
    {"Bitmap Image", "bmp"},
    {"GIF Image", "gif"},
    {"JPEG Image", "jpg"},
    {"Metatfile", "wmf"},
    {"Enhanced Metatfile", "emf"},
    {"Icon File", "ico"},
    {"Cursor File", "cur"},
}};

// The desktop's own name for a file type would replace the table's text on a machine that has
// one; we keep the table's, so that a listing reads the same on every machine.
const TypeNames& namesOf(int type) {
    return kTypeNames[type >= 0 && type < static_cast<int>(kTypeNames.size())
                          ? static_cast<std::size_t>(type)
                          : 0];
}

std::vector<std::uint8_t> copyOf(std::span<const std::uint8_t> f, std::size_t at,
                                 std::size_t count) {
    const auto first = f.begin() + static_cast<std::ptrdiff_t>(at);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

[[noreturn]] void raiseLoadError(int errorNumber) {
    if (errorNumber == ENOENT || errorNumber == ENOTDIR) throw FrxLoadError(53, "File not found");
    if (errorNumber == ENOMEM) throw FrxLoadError(7, "Out of memory");
    throw FrxLoadError(75, "Path/File access error");
}

std::vector<std::uint8_t> readContainer(const std::filesystem::path& path) {
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(path, ec);
    if (status.type() == std::filesystem::file_type::not_found) raiseLoadError(ENOENT);
    if (status.type() != std::filesystem::file_type::regular)
        raiseLoadError(ec ? ec.value() : EISDIR);
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec) raiseLoadError(ec.value());
    std::ifstream in(path, std::ios::binary);
    if (!in) raiseLoadError(errno != 0 ? errno : EACCES);
    std::vector<std::uint8_t> bytes;
    try {
        bytes.resize(static_cast<std::size_t>(size));
    } catch (const std::bad_alloc&) {
        raiseLoadError(ENOMEM);
    } catch (const std::length_error&) {
        raiseLoadError(ENOMEM);
    }
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    // A file that shrank while it was read is as unreadable as one that cannot be opened.
    if (static_cast<std::uintmax_t>(in.gcount()) != size) raiseLoadError(EIO);
    return bytes;
}

} // namespace

int FrxSignatureType(std::span<const std::uint8_t> b) {
    const std::size_t n = b.size();
    if (n <= 4) return kFrxBinary;
    // The size field ends at byte 6: a shorter item cannot name its own size.
    if (n >= 6 && u16(b, 0) == 19778 && u32(b, 2) == n) return kFrxBitmap;
    if (b[0] == 'G' && b[1] == 'I' && b[2] == 'F' && b[n - 1] == 59) return kFrxGif;
    if (u16(b, 0) == 55551 && u16(b, n - 2) == 55807) return kFrxJpeg;
    if (u32(b, 0) == kPlaceableKey || plainMetafile(b)) return kFrxMetafile;
    if (n > 43 && u32(b, 40) == kEnhancedSignature) return kFrxEnhancedMetafile;
    if (u32(b, 0) == kIconStart && firstImageIsBitmap(b)) return kFrxIcon;
    if (u32(b, 0) == kCursorStart && firstImageIsBitmap(b)) return kFrxCursor;
    return kFrxBinary;
}

cFrxItem::cFrxItem(std::vector<std::uint8_t> Bytes, int HeaderSize, std::size_t FileOffset,
                   int PictureType)
    : bytes_(std::move(Bytes)), headerSize_(HeaderSize), fileOffset_(FileOffset),
      pictureType_(PictureType) {}

std::string_view cFrxItem::FileTypeName() const noexcept {
    return namesOf(pictureType_).name;
}

std::string_view cFrxItem::FileExtension() const noexcept {
    return namesOf(pictureType_).extension;
}

std::optional<velmar::Bits> cFrxItem::Picture() const {
    // The main frame's open reads the same kinds the desktop's picture loader did (bitmaps,
    // JPEG, GIF, icons, cursors, metafiles); binary data has no loader and gives nothing.
    return LoadPictureBytes(bytes_, FileExtension(), LoadSite::MainFrameOpen);
}

std::vector<cFrxItem> ScanFrxItems(std::span<const std::uint8_t> File) {
    std::vector<cFrxItem> items;
    const std::size_t L = File.size();
    const auto size = static_cast<std::int64_t>(L);
    std::size_t p = 0, skipped = 0;
    const auto closeSkippedRun = [&] {
        if (skipped == 0) return;
        items.emplace_back(copyOf(File, p - skipped, skipped), 0, p - skipped, kFrxBinary);
        skipped = 0;
    };
    while (p < L) {
        const RecordHeader h = readHeader(File, p);
        int type = kFrxBinary;
        // Signatures are tested in place; only an item that is kept is copied. A length is
        // believable when it is at least 1 and its data fits behind the header (which also
        // keeps it below the file's size). One unsigned comparison says both: in a stretch of
        // unexplained bytes half the lengths are negative, and a branch on the sign alone
        // would be mispredicted at every other byte.
        const auto room = static_cast<std::uint64_t>(size - static_cast<std::int64_t>(p) - h.size);
        if (static_cast<std::uint64_t>(h.length - 1) < room)
            type = FrxSignatureType(File.subspan(p + static_cast<std::size_t>(h.size),
                                                 static_cast<std::size_t>(h.length)));
        // An empty picture record is an item of its own; anything else that holds no picture
        // is stepped over one byte at a time.
        if ((h.length != 0 || h.form != 1) && type == kFrxBinary) {
            ++p;
            ++skipped;
            continue;
        }
        closeSkippedRun();
        const std::size_t start = p + static_cast<std::size_t>(h.size);
        const auto length = static_cast<std::size_t>(h.length);
        items.emplace_back(copyOf(File, start, length), h.size, start, type);
        p = start + length;
    }
    closeSkippedRun();
    return items;
}

bool IsFrxContainerPath(const std::filesystem::path& Path) {
    const std::string name = Path.string();
    if (name.size() < 4) return false;
    // Whole names only: four characters that straddle two of them ("x.ct") are no extension.
    const std::string last = LowerCase(std::string_view(name).substr(name.size() - 4));
    for (const std::string_view known : {".frx", ".ctx", ".dsx", ".dox", ".pgx"})
        if (last == known) return true;
    return false;
}

void cFrxFile::Path(const std::filesystem::path& NewPath) {
    clear();
    if (!IsFrxContainerPath(NewPath)) return;
    std::vector<std::uint8_t> bytes = readContainer(NewPath);
    try {
        LoadBytes(std::move(bytes));
    } catch (const std::bad_alloc&) {
        clear();
        raiseLoadError(ENOMEM);
    }
    path_ = NewPath;
}

void cFrxFile::LoadBytes(std::vector<std::uint8_t> File) {
    clear();
    items_ = ScanFrxItems(File);
    file_ = std::move(File);
}

const cFrxItem& cFrxFile::Item(std::size_t Index) const {
    if (Index < 1 || Index > items_.size()) throw RuntimeError(9, "Subscript out of range");
    return items_[Index - 1];
}

void cFrxFile::clear() noexcept {
    path_.clear();
    file_.clear();
    file_.shrink_to_fit();
    items_.clear();
}

} // namespace velmar
