#pragma once
// cResources: the resource types of a module (.exe, .dll) and the names within each, for the
// icon extractor, and the bytes of a resource. The module is read as data by our own PE
// resource reader (PeResourceDirectory.h): nothing of it is run.
//
// Lists are 1-based as the extractor walks them: ResourceType(1) is the first type in the
// directory's order. An index out of range raises the error 9 "Subscript out of range"
// (RuntimeError); a module that cannot be read raises ExtractError with the source
// "Velmar32.cResources" and leaves the object empty.
#include "extract/PeResourceDirectory.h"
#include "extract/ResourceId.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace velmar {

// "Cursor", "Group Icon", ... for the numbered types the platform defines, "Other (" + id + ")"
// for any other number, and a named type's own name.
std::string ResourceTypeNameOf(const ResourceId& type);

class cResources {
  public:
    const std::filesystem::path& FILE() const noexcept { return path_; }
    // Clears the object, reads the module at `path` and enumerates its types and names.
    void FILE(const std::filesystem::path& path);
    // The same over a module's bytes in memory; FILE() is left empty.
    void LoadBytes(std::vector<std::uint8_t> module);

    int ResourceTypeCount() const noexcept { return static_cast<int>(types_.size()); }
    const ResourceId& ResourceType(int index) const;
    std::string ResourceTypeName(int index) const {
        return ResourceTypeNameOf(ResourceType(index));
    }
    // The index of the type, 0 when the module has none of it.
    int IndexOfResourceType(const ResourceId& type) const;
    // Names of a type the module lacks: none.
    int ResourceNameCount(const ResourceId& type) const;
    const ResourceId& ResourceName(const ResourceId& type, int index) const;

    // Enumerate again from the directory: the type list, or one type's name list.
    void GetResourceTypes();
    void GetResourceNames(const ResourceId& type);

    // Whether the module names a resource of that type and name (unloaded: none).
    bool HasResource(const ResourceId& type, const ResourceId& name) const;
    // The bytes of the resource of that type and name, in its first language; nothing when the
    // module has no such resource, its bytes lie outside the file, or the module is unloaded.
    // An exact id is preferred to one that differs in the case of a name.
    std::optional<std::span<const std::uint8_t>> ResourceData(const ResourceId& type,
                                                              const ResourceId& name) const;
    // Every leaf of the directory, in its order (type, name, language).
    const std::vector<PeResource>& Resources() const noexcept { return directory_.resources; }
    bool IsPe32Plus() const noexcept { return directory_.pe32Plus; }
    std::size_t ModuleSize() const noexcept { return module_.size(); }

    // Lets the module's bytes go; the lists stay as they were enumerated.
    void UnloadModule() noexcept;
    // Empties everything.
    void ClearUp() noexcept;

  private:
    struct TypeNames {
        ResourceId type;
        std::vector<ResourceId> names;
    };
    // Ids as map keys, exact or with ASCII letters in capitals. The maps keep lookups
    // logarithmic: a hostile directory can hold a hundred thousand entries.
    using Key = std::pair<bool, std::u16string>;
    using LeafKey = std::pair<Key, Key>;
    static Key keyOf(const ResourceId& id, bool folded);
    const TypeNames* find(const ResourceId& type) const;
    const PeResource* leaf(const ResourceId& type, const ResourceId& name) const;

    std::filesystem::path path_;
    std::vector<std::uint8_t> module_;
    PeResourceDirectory directory_;
    std::vector<TypeNames> types_;
    std::map<Key, std::size_t> exactType_, foldedType_;     // index into types_
    std::map<LeafKey, std::size_t> exactLeaf_, foldedLeaf_; // first leaf of a type and name
};

} // namespace velmar
