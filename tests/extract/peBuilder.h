#pragma once
// Small PE files for the extraction tests, built byte by byte: a DOS stub header, the PE
// headers of a PE32 or PE32+ library, one ".rsrc" section and a resource directory of the
// three levels (type, name, language) holding the resources given. Also icon images and .ico
// files with known contents, so that what the readers pull out can be checked by hand and by
// icoutils.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace velmar::test {

using Bytes = std::vector<std::uint8_t>;

inline void put16(Bytes& b, std::size_t at, std::uint32_t v) {
    if (b.size() < at + 2) b.resize(at + 2);
    b[at] = static_cast<std::uint8_t>(v);
    b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
inline void put32(Bytes& b, std::size_t at, std::uint32_t v) {
    put16(b, at, v & 0xFFFF);
    put16(b, at + 2, v >> 16);
}
inline std::uint32_t get32(const Bytes& b, std::size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
}

// A type, name or language of the builder: a number or an ASCII name.
using BuildId = std::variant<std::uint16_t, std::string>;

struct BuildResource {
    BuildId type;
    BuildId name;
    std::uint16_t language = 1033;
    Bytes data;
};

struct BuiltPe {
    Bytes bytes;
    std::size_t resourceOffset = 0; // file offset of the root directory
    std::uint32_t resourceRva = 0;
};

// A directory sorted as linkers write it: names first (in order), then numbers ascending.
inline bool idBefore(const BuildId& a, const BuildId& b) {
    if (a.index() != b.index()) return a.index() > b.index();
    return a < b;
}

// The PE file. The section starts at RVA 0x1000 and file offset 0x200; the root directory is at
// its start, then the type directories, the name directories, the data entries, the names and
// the data, each resource's bytes aligned to 4.
inline BuiltPe buildPe(bool pe32Plus, std::vector<BuildResource> resources) {
    constexpr std::uint32_t sectionRva = 0x1000, sectionFile = 0x200;
    std::stable_sort(resources.begin(), resources.end(), [](const auto& a, const auto& b) {
        if (a.type != b.type) return idBefore(a.type, b.type);
        return idBefore(a.name, b.name);
    });
    // Tree: type -> name -> resource indices.
    std::vector<std::pair<BuildId, std::vector<std::pair<BuildId, std::vector<std::size_t>>>>> tree;
    for (std::size_t i = 0; i < resources.size(); ++i) {
        const auto& r = resources[i];
        if (tree.empty() || tree.back().first != r.type) tree.push_back({r.type, {}});
        auto& names = tree.back().second;
        if (names.empty() || names.back().first != r.name) names.push_back({r.name, {}});
        names.back().second.push_back(i);
    }
    // Sizes of the parts, so that every offset is known before anything is written.
    std::size_t typeDirs = 16 + 8 * tree.size(), nameDirs = 0, langDirs = 0;
    for (const auto& t : tree) {
        nameDirs += 16 + 8 * t.second.size();
        for (const auto& n : t.second)
            langDirs += 16 + 8 * n.second.size();
    }
    const std::size_t dataEntries = typeDirs + nameDirs + langDirs;
    std::size_t strings = dataEntries + 16 * resources.size();
    Bytes rsrc(strings);
    std::map<std::string, std::uint32_t> stringAt;
    auto idField = [&](const BuildId& id) -> std::uint32_t {
        if (const auto* n = std::get_if<std::uint16_t>(&id)) return *n;
        const std::string& s = std::get<std::string>(id);
        if (!stringAt.count(s)) {
            stringAt[s] = static_cast<std::uint32_t>(rsrc.size());
            const std::size_t at = rsrc.size();
            put16(rsrc, at, static_cast<std::uint32_t>(s.size()));
            for (std::size_t i = 0; i < s.size(); ++i)
                put16(rsrc, at + 2 + 2 * i, static_cast<unsigned char>(s[i]));
        }
        return 0x80000000u | stringAt[s];
    };
    auto header = [&](std::size_t at, const auto& entries) {
        std::uint32_t named = 0;
        for (const auto& e : entries)
            named += std::holds_alternative<std::string>(e.first) ? 1 : 0;
        put16(rsrc, at + 12, named);
        put16(rsrc, at + 14, static_cast<std::uint32_t>(entries.size()) - named);
    };
    std::size_t nameAt = typeDirs, langAt = typeDirs + nameDirs, entryAt = dataEntries;
    header(0, tree);
    for (std::size_t t = 0; t < tree.size(); ++t) {
        put32(rsrc, 16 + 8 * t, idField(tree[t].first));
        put32(rsrc, 20 + 8 * t, 0x80000000u | static_cast<std::uint32_t>(nameAt));
        const auto& names = tree[t].second;
        header(nameAt, names);
        for (std::size_t n = 0; n < names.size(); ++n) {
            put32(rsrc, nameAt + 16 + 8 * n, idField(names[n].first));
            put32(rsrc, nameAt + 20 + 8 * n, 0x80000000u | static_cast<std::uint32_t>(langAt));
            const auto& langs = names[n].second;
            put16(rsrc, langAt + 14, static_cast<std::uint32_t>(langs.size()));
            for (std::size_t l = 0; l < langs.size(); ++l) {
                put32(rsrc, langAt + 16 + 8 * l, resources[langs[l]].language);
                put32(rsrc, langAt + 20 + 8 * l, static_cast<std::uint32_t>(entryAt));
                entryAt += 16;
            }
            langAt += 16 + 8 * langs.size();
        }
        nameAt += 16 + 8 * names.size();
    }
    for (std::size_t i = 0; i < resources.size(); ++i) {
        rsrc.resize((rsrc.size() + 3) & ~std::size_t{3});
        const std::size_t entry = dataEntries + 16 * i;
        put32(rsrc, entry, sectionRva + static_cast<std::uint32_t>(rsrc.size()));
        put32(rsrc, entry + 4, static_cast<std::uint32_t>(resources[i].data.size()));
        rsrc.insert(rsrc.end(), resources[i].data.begin(), resources[i].data.end());
    }
    const std::uint32_t rawSize = static_cast<std::uint32_t>((rsrc.size() + 0x1FF) & ~0x1FFu);

    Bytes pe(sectionFile);
    pe[0] = 'M';
    pe[1] = 'Z';
    put32(pe, 0x3C, 0x40);
    put32(pe, 0x40, 0x00004550);
    const std::size_t coff = 0x44, optional = coff + 20;
    const std::uint32_t optionalSize = pe32Plus ? 240 : 224;
    put16(pe, coff, pe32Plus ? 0x8664 : 0x14C);
    put16(pe, coff + 2, 1);
    put16(pe, coff + 16, optionalSize);
    put16(pe, coff + 18, 0x2102); // executable image, DLL
    put16(pe, optional, pe32Plus ? 0x20B : 0x10B);
    put32(pe, optional + 32, 0x1000); // section alignment
    put32(pe, optional + 36, 0x200);  // file alignment
    put16(pe, optional + 48, 4);      // subsystem version
    put32(pe, optional + 56, sectionRva + ((rawSize + 0xFFF) & ~0xFFFu));
    put32(pe, optional + 60, sectionFile);
    put16(pe, optional + 68, 2); // GUI
    const std::size_t count = optional + (pe32Plus ? 108 : 92);
    put32(pe, count, 16);
    put32(pe, count + 4 + 16, sectionRva);
    put32(pe, count + 4 + 20, static_cast<std::uint32_t>(rsrc.size()));
    const std::size_t section = optional + optionalSize;
    const char name[] = ".rsrc";
    std::copy(name, name + 5, pe.begin() + static_cast<std::ptrdiff_t>(section));
    put32(pe, section + 8, static_cast<std::uint32_t>(rsrc.size()));
    put32(pe, section + 12, sectionRva);
    put32(pe, section + 16, rawSize);
    put32(pe, section + 20, sectionFile);
    put32(pe, section + 36, 0x40000040); // initialised data, readable
    pe.resize(sectionFile);
    pe.insert(pe.end(), rsrc.begin(), rsrc.end());
    pe.resize(sectionFile + rawSize);
    return {pe, sectionFile, sectionRva};
}

// An icon image as an .ico or a module holds it: a 40-byte bitmap header with the height
// doubled, the colour table for depths up to 8, the colour rows (bottom-up, padded to 4 bytes)
// and the 1-bit mask rows. `seed` varies the pixels so that images of one size differ.
inline Bytes iconImage(int width, int height, int bitCount, int seed = 0) {
    Bytes b(40);
    put32(b, 0, 40);
    put32(b, 4, static_cast<std::uint32_t>(width));
    put32(b, 8, static_cast<std::uint32_t>(height * 2));
    put16(b, 12, 1);
    put16(b, 14, static_cast<std::uint32_t>(bitCount));
    const int colours = bitCount <= 8 ? 1 << bitCount : 0;
    for (int i = 0; i < colours; ++i)
        for (int c = 0; c < 4; ++c)
            b.push_back(static_cast<std::uint8_t>(c == 3 ? 0 : (i * 37 + c * 91 + seed) & 0xFF));
    const int rowBytes = (width * bitCount + 31) / 32 * 4;
    for (int i = 0; i < rowBytes * height; ++i)
        b.push_back(static_cast<std::uint8_t>((i * 13 + seed * 7) & 0xFF));
    const int maskBytes = (width + 31) / 32 * 4;
    for (int i = 0; i < maskBytes * height; ++i)
        b.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? 0xF0 : 0x00));
    put32(b, 20, static_cast<std::uint32_t>(b.size() - 40 - 4 * colours));
    return b;
}

// The fields of an icon directory entry (the 16 bytes of a file, the 14 of a group resource).
struct IconEntry {
    std::uint8_t width, height, colours;
    std::uint16_t planes, bitCount;
};

inline IconEntry entryFor(int width, int height, int bitCount) {
    return {static_cast<std::uint8_t>(width & 0xFF), static_cast<std::uint8_t>(height & 0xFF),
            static_cast<std::uint8_t>(bitCount < 8 ? 1 << bitCount : 0), 1,
            static_cast<std::uint16_t>(bitCount)};
}

// The first 12 bytes an icon file's entry and a group icon's entry share: size, colours,
// planes, bits and the image's length.
inline void putEntryHead(Bytes& b, std::size_t at, const IconEntry& entry, std::size_t imageSize) {
    b[at] = entry.width;
    b[at + 1] = entry.height;
    b[at + 2] = entry.colours;
    put16(b, at + 4, entry.planes);
    put16(b, at + 6, entry.bitCount);
    put32(b, at + 8, static_cast<std::uint32_t>(imageSize));
}

// An .ico file: the images one after the other behind the directory.
inline Bytes icoFile(const std::vector<IconEntry>& entries, const std::vector<Bytes>& images) {
    Bytes b;
    put16(b, 2, 1);
    put16(b, 4, static_cast<std::uint32_t>(entries.size()));
    std::size_t offset = 6 + 16 * entries.size();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = 6 + 16 * i;
        b.resize(at + 16);
        putEntryHead(b, at, entries[i], images[i].size());
        put32(b, at + 12, static_cast<std::uint32_t>(offset));
        offset += images[i].size();
    }
    for (const Bytes& image : images)
        b.insert(b.end(), image.begin(), image.end());
    return b;
}

// A group icon resource naming the icon resources `ids`, one for each image.
inline Bytes groupIcon(const std::vector<IconEntry>& entries, const std::vector<Bytes>& images,
                       const std::vector<std::uint16_t>& ids) {
    Bytes b;
    put16(b, 2, 1);
    put16(b, 4, static_cast<std::uint32_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = 6 + 14 * i;
        b.resize(at + 14);
        putEntryHead(b, at, entries[i], images[i].size());
        put16(b, at + 12, ids[i]);
    }
    return b;
}

// A module with two group icons: group 1 ("#1") of a 16x16 4-bit and a 32x32 8-bit image
// (icons 1 and 2), and group "MAINICON" of a 48x48 32-bit image (icon 3), plus an RC data
// resource named "DATA" and a version-like resource 16 #1, so that lists have more than icons.
struct SampleModule {
    BuiltPe pe;
    std::vector<IconEntry> entries1, entriesMain;
    std::vector<Bytes> images1, imagesMain;
};

inline SampleModule sampleModule(bool pe32Plus) {
    SampleModule m;
    m.entries1 = {entryFor(16, 16, 4), entryFor(32, 32, 8)};
    m.images1 = {iconImage(16, 16, 4, 1), iconImage(32, 32, 8, 2)};
    m.entriesMain = {entryFor(48, 48, 32)};
    m.imagesMain = {iconImage(48, 48, 32, 3)};
    std::vector<BuildResource> r = {
        {std::uint16_t{3}, std::uint16_t{1}, 1033, m.images1[0]},
        {std::uint16_t{3}, std::uint16_t{2}, 1033, m.images1[1]},
        {std::uint16_t{3}, std::uint16_t{3}, 1033, m.imagesMain[0]},
        {std::uint16_t{14}, std::uint16_t{1}, 1033, groupIcon(m.entries1, m.images1, {1, 2})},
        {std::uint16_t{14}, std::string("MAINICON"), 1033,
         groupIcon(m.entriesMain, m.imagesMain, {3})},
        {std::uint16_t{10}, std::string("DATA"), 0, Bytes{1, 2, 3, 4, 5}},
        {std::uint16_t{16}, std::uint16_t{1}, 1033, Bytes(52, 0x11)},
    };
    m.pe = buildPe(pe32Plus, r);
    return m;
}

} // namespace velmar::test
