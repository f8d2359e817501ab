#include "extract/cResources.h"

#include "extract/ExtractError.h"
#include "pixel/RuntimeError.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <new>
#include <set>

namespace velmar {

namespace {

struct TypeName {
    std::uint16_t id;
    const char* name;
};

constexpr std::array<TypeName, 19> kTypeNames = {{
    {1, "Cursor"},
    {2, "Bitmap"},
    {3, "Icon"},
    {4, "Menu"},
    {5, "Dialog"},
    {6, "String"},
    {7, "Font Directory"},
    {8, "Font"},
    {9, "Accelerators"},
    {10, "RC Data"},
    {11, "Message Table"},
    {12, "Group Cursor"},
    {14, "Group Icon"},
    {16, "Version"},
    {17, "Dialog Include"},
    {20, "VXD"},
    {21, "Animated Cursor"},
    {22, "Animated Icon"},
    {23, "HTML"},
}};

// A PE file's offsets are 32-bit, so no module is larger; reading a bigger file whole would
// only spend memory before the headers refuse it.
constexpr std::uintmax_t kLargestModule = 0xFFFFFFFFu;

[[noreturn]] void failLoad(const std::string& reason) {
    throw ExtractError(kResourcesLoadError, "Can't load library: " + reason + ".", "cResources");
}

std::vector<std::uint8_t> readModule(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream in(path, std::ios::binary);
    if (error || !in) failLoad("the file cannot be read");
    if (size > kLargestModule) failLoad("the file is too large for a module");
    std::vector<std::uint8_t> bytes;
    try {
        bytes.resize(static_cast<std::size_t>(size));
    } catch (const std::bad_alloc&) {
        failLoad("out of memory");
    }
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (in.gcount() != static_cast<std::streamsize>(bytes.size()))
        failLoad("the file cannot be read");
    return bytes;
}

} // namespace

std::string ResourceTypeNameOf(const ResourceId& type) {
    if (!type.IsNumber()) return type.Text();
    for (const TypeName& t : kTypeNames)
        if (t.id == type.Number()) return t.name;
    return "Other (" + type.Text() + ")";
}

void cResources::FILE(const std::filesystem::path& path) {
    ClearUp();
    LoadBytes(readModule(path));
    path_ = path;
}

void cResources::LoadBytes(std::vector<std::uint8_t> module) {
    ClearUp();
    try {
        directory_ = ParsePeResources(module);
    } catch (const PeFormatError& e) {
        failLoad(e.what());
    }
    module_ = std::move(module);
    GetResourceTypes();
}

cResources::Key cResources::keyOf(const ResourceId& id, bool folded) {
    if (id.IsNumber()) return {false, std::u16string(1, static_cast<char16_t>(id.Number()))};
    std::u16string name = id.Name();
    if (folded)
        for (char16_t& c : name)
            if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
    return {true, std::move(name)};
}

// One pass over the leaves: a type's first leaf adds it to the list, a type and name's first
// leaf adds the name to the type's list, in the directory's order.
void cResources::GetResourceTypes() {
    types_.clear();
    exactType_.clear();
    foldedType_.clear();
    exactLeaf_.clear();
    foldedLeaf_.clear();
    for (std::size_t i = 0; i < directory_.resources.size(); ++i) {
        const PeResource& r = directory_.resources[i];
        const Key type = keyOf(r.type, false);
        const auto [at, newType] = exactType_.try_emplace(type, types_.size());
        if (newType) {
            types_.push_back({r.type, {}});
            foldedType_.try_emplace(keyOf(r.type, true), at->second);
        }
        if (exactLeaf_.try_emplace({type, keyOf(r.name, false)}, i).second)
            types_[at->second].names.push_back(r.name);
        foldedLeaf_.try_emplace({keyOf(r.type, true), keyOf(r.name, true)}, i);
    }
}

void cResources::GetResourceNames(const ResourceId& type) {
    const auto at = exactType_.find(keyOf(type, false));
    if (at == exactType_.end()) return;
    std::vector<ResourceId>& names = types_[at->second].names;
    names.clear();
    std::set<Key> seen;
    for (const PeResource& r : directory_.resources)
        if (r.type == type && seen.insert(keyOf(r.name, false)).second) names.push_back(r.name);
}

const cResources::TypeNames* cResources::find(const ResourceId& type) const {
    if (const auto exact = exactType_.find(keyOf(type, false)); exact != exactType_.end())
        return &types_[exact->second];
    const auto folded = foldedType_.find(keyOf(type, true));
    return folded == foldedType_.end() ? nullptr : &types_[folded->second];
}

const PeResource* cResources::leaf(const ResourceId& type, const ResourceId& name) const {
    std::size_t index = directory_.resources.size();
    if (const auto exact = exactLeaf_.find({keyOf(type, false), keyOf(name, false)});
        exact != exactLeaf_.end())
        index = exact->second;
    else if (const auto folded = foldedLeaf_.find({keyOf(type, true), keyOf(name, true)});
             folded != foldedLeaf_.end())
        index = folded->second;
    // After UnloadModule the leaves are gone and so is every resource.
    return index < directory_.resources.size() ? &directory_.resources[index] : nullptr;
}

const ResourceId& cResources::ResourceType(int index) const {
    if (index < 1 || index > ResourceTypeCount()) throw RuntimeError(9, "Subscript out of range");
    return types_[static_cast<std::size_t>(index - 1)].type;
}

int cResources::IndexOfResourceType(const ResourceId& type) const {
    const TypeNames* t = find(type);
    return t ? static_cast<int>(t - types_.data()) + 1 : 0;
}

int cResources::ResourceNameCount(const ResourceId& type) const {
    const TypeNames* t = find(type);
    return t ? static_cast<int>(t->names.size()) : 0;
}

const ResourceId& cResources::ResourceName(const ResourceId& type, int index) const {
    const TypeNames* t = find(type);
    if (!t || index < 1 || index > static_cast<int>(t->names.size()))
        throw RuntimeError(9, "Subscript out of range");
    return t->names[static_cast<std::size_t>(index - 1)];
}

bool cResources::HasResource(const ResourceId& type, const ResourceId& name) const {
    return leaf(type, name) != nullptr;
}

std::optional<std::span<const std::uint8_t>>
cResources::ResourceData(const ResourceId& type, const ResourceId& name) const {
    const PeResource* r = leaf(type, name);
    if (!r) return std::nullopt;
    return ResourceBytes(module_, *r);
}

void cResources::UnloadModule() noexcept {
    module_.clear();
    module_.shrink_to_fit();
    directory_.resources.clear();
}

void cResources::ClearUp() noexcept {
    UnloadModule();
    directory_ = PeResourceDirectory();
    types_.clear();
    exactType_.clear();
    foldedType_.clear();
    exactLeaf_.clear();
    foldedLeaf_.clear();
    path_.clear();
}

} // namespace velmar
