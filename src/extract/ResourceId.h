#pragma once
// The identifier of a resource type, name or language in a module: a 16-bit number or a
// Unicode name, as the PE resource directory stores them. Module texts are UTF-16; Text()
// gives them as UTF-8 for the user and the terminal.
#include <cstdint>
#include <string>
#include <string_view>

namespace velmar {

class ResourceId {
  public:
    ResourceId() = default;
    // Implicit from a number, so that `ResourceId id = 14;` reads as the directory does.
    ResourceId(std::uint16_t number) : number_(number) {}
    explicit ResourceId(std::u16string name) : name_(std::move(name)), isName_(true) {}

    // "#" followed by decimal digits, the form resource calls take for numbers, is the number
    // (up to 65535); any other text is a name.
    static ResourceId FromText(std::string_view text);

    bool IsNumber() const noexcept { return !isName_; }
    std::uint16_t Number() const noexcept { return number_; }
    const std::u16string& Name() const noexcept { return name_; }

    // A number as its decimal digits, a name as UTF-8 (an unpaired surrogate becomes U+FFFD).
    std::string Text() const;

    // As the module's resource lookup compares: numbers by value, names without regard to the
    // case of ASCII letters (resource compilers store names in capitals, callers rarely do).
    bool Matches(const ResourceId& other) const;

    bool operator==(const ResourceId& other) const = default;

  private:
    std::uint16_t number_ = 0;
    std::u16string name_;
    bool isName_ = false;
};

} // namespace velmar
