#include "shell/cli/selectionArgs.h"

#include "pixel/RegionFile.h"

#include <charconv>

namespace velmar::cli {

namespace {

using Kind = SelectionStep::Kind;

struct OptionRow {
    std::string_view name;
    Kind kind;
};

constexpr OptionRow kOptions[] = {
    {"--rect", Kind::Rect},
    {"--ellipse", Kind::Ellipse},
    {"--polygon", Kind::Polygon},
    {"--subtract-rect", Kind::SubtractRect},
    {"--subtract-ellipse", Kind::SubtractEllipse},
    {"--region", Kind::RegionFile},
};

// The combine modes of cBitRegion.
constexpr int kOr = 2;
constexpr int kDiff = 4;

} // namespace

bool ParseNumberList(std::string_view text, std::vector<std::int32_t>& numbers) {
    numbers.clear();
    while (true) {
        const std::size_t comma = text.find(',');
        const std::string_view part = text.substr(0, comma);
        std::int32_t value = 0;
        const auto [end, ec] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (part.empty() || ec != std::errc() || end != part.data() + part.size()) return false;
        numbers.push_back(value);
        if (comma == std::string_view::npos) return true;
        text.remove_prefix(comma + 1);
    }
}

SelectionOption TakeSelectionOption(std::span<const std::string> args, std::size_t& i,
                                    SelectionSteps& steps, std::string& error) {
    const OptionRow* row = nullptr;
    for (const OptionRow& r : kOptions)
        if (args[i] == r.name) row = &r;
    if (row == nullptr) return SelectionOption::NotOne;
    if (i + 1 >= args.size()) {
        error = std::string(row->name) + " needs a value";
        return SelectionOption::Bad;
    }
    SelectionStep step;
    step.kind = row->kind;
    const std::string& value = args[i + 1];
    if (row->kind == Kind::RegionFile) {
        step.file = value;
    } else if (!ParseNumberList(value, step.numbers)) {
        error = std::string(row->name) + " takes whole numbers separated by commas, not '" + value +
                "'";
        return SelectionOption::Bad;
    } else if (row->kind == Kind::Polygon) {
        if (step.numbers.size() < 6 || step.numbers.size() % 2 != 0) {
            error = "--polygon takes at least three corners X,Y";
            return SelectionOption::Bad;
        }
    } else if (step.numbers.size() != 4) {
        error = std::string(row->name) + " takes four numbers L,T,R,B";
        return SelectionOption::Bad;
    }
    steps.push_back(std::move(step));
    i += 2;
    return SelectionOption::Taken;
}

void BuildSelection(const SelectionSteps& steps, int width, int height, cBitRegion& region) {
    region.Init(0, 0, width, height);
    for (const SelectionStep& s : steps) {
        const std::vector<std::int32_t>& n = s.numbers;
        switch (s.kind) {
        case Kind::Rect:
            region.CreateRect(n[0], n[1], n[2], n[3], kOr, true);
            break;
        case Kind::Ellipse:
            region.CreateEllipse(n[0], n[1], n[2], n[3], kOr, true);
            break;
        case Kind::Polygon:
            region.CreatePolygon(n, kOr, true);
            break;
        case Kind::SubtractRect:
            region.CreateRect(n[0], n[1], n[2], n[3], kDiff, true);
            break;
        case Kind::SubtractEllipse:
            region.CreateEllipse(n[0], n[1], n[2], n[3], kDiff, true);
            break;
        case Kind::RegionFile: {
            // A saved selection joins the shapes as one more added shape.
            Region shape = Region::FromRgnData(ReadRegionFile(s.file));
            if (region.Region() != nullptr)
                shape = Region::Combine(*region.Region(), shape, CombineMode::Or);
            region.Region(Region::Combine(shape, *region.RegionMain(), CombineMode::And));
            break;
        }
        }
    }
}

} // namespace velmar::cli
