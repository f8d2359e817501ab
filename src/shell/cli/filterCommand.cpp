// velmar-cli filter KEYWORD IN OUT [SELECTION] and velmar-cli dialog INDEX IN OUT [P0 [P1 [P2]]]
// [options] [SELECTION]: a menu word of the editor, or a setup of its filter dialog with chosen
// values, run on the whole picture IN (or a selection of it) and saved as OUT, with exactly the
// pixels the editor would give. The rotation and sizing words of the Adjust menu run here too;
// they change the picture's size.
#include "filters/cBitFilter.h"
#include "filters/documentGeometry.h"
#include "filters/filterCommands.h"
#include "pixel/PixelMemory.h"
#include "pixel/RuntimeError.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"
#include "shell/cli/pictureFiles.h"
#include "shell/cli/selectionArgs.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iostream>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace velmar::cli {

namespace {

std::string upperCase(std::string_view s) {
    std::string u(s);
    for (char& c : u)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return u;
}

// A bar on stderr while a filter runs, only when stderr is a terminal: in a pipe or a log it
// would be noise.
class ProgressBar {
  public:
    explicit ProgressBar(CliContext& ctx) : on_(&ctx.err == &std::cerr && isatty(2) == 1) {}
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { finish(); }

    void show(std::int32_t percent) {
        if (!on_) return;
        percent = std::clamp(percent, 0, 100);
        if (percent == last_) return;
        last_ = percent;
        constexpr int kWidth = 40;
        const int filled = percent * kWidth / 100;
        std::cerr << "\r[" << std::string(static_cast<std::size_t>(filled), '#')
                  << std::string(static_cast<std::size_t>(kWidth - filled), ' ') << "] " << percent
                  << "%" << std::flush;
    }
    void finish() {
        if (on_ && last_ >= 0) std::cerr << "\n" << std::flush;
        last_ = -1;
    }

  private:
    bool on_;
    std::int32_t last_ = -1;
};

// The steps shared by both commands: open, select, run, save. `work(f, picture, area)` runs
// the filter with the object `f` on the picture in the selected area (RegionMain, the whole
// picture, when no selection is given, as the editor hands it over) and returns the new picture.
template <class Work>
int runOnPicture(CliContext& ctx, std::string_view command, const std::string& in,
                 const std::string& out, const SelectionSteps& selection, Work&& work) {
    TerminalPort port(ctx.err);
    std::optional<Bits> picture = openPicture(in, port);
    if (!picture) return 1;
    cBitRegion region;
    try {
        BuildSelection(selection, picture->Width(), picture->Height(), region);
    } catch (const RegionFileError& e) {
        ctx.err << "velmar-cli " << command << ": " << e.what() << "\n";
        return 1;
    }
    const Region* area = region.RegionMain();
    if (!selection.empty()) {
        if (region.IsEmptyRegion()) {
            ctx.err << "velmar-cli " << command
                    << ": the selection holds no pixel of the picture; nothing was written.\n";
            return 1;
        }
        area = region.Region();
    }
    Bits result;
    try {
        ProgressBar bar(ctx);
        cBitFilter f;
        f.SetProgress([&bar](std::int32_t percent) { bar.show(percent); });
        result = work(f, *picture, area);
        // The source is not needed for the save: a turn, which keeps it to the end, would
        // otherwise hold it through the save as well.
        picture.reset();
    } catch (const RuntimeError& e) {
        ctx.err << "velmar-cli " << command << ": Run-time error " << e.number() << ": " << e.what()
                << "\n";
        return 1;
    } catch (const std::bad_alloc&) {
        ctx.err << "velmar-cli " << command << ": not enough memory for the picture.\n";
        return 1;
    } catch (const std::exception& e) {
        ctx.err << "velmar-cli " << command << ": " << e.what() << "\n";
        return 1;
    }
    // The source and the working pictures are gone; what they left for reuse is not needed
    // while the result is encoded.
    releaseKeptPixels();
    return savePicture(result, out, command, ctx, port);
}

// ---- filter --------------------------------------------------------------------------------

const DirectCommand* findWord(std::string_view word) {
    return FindDirectCommand(upperCase(word));
}

// The turns and size steps, in any case ("x2" or "X2").
std::optional<GeometryWord> findGeometryWord(std::string_view word) {
    for (const GeometryWord& g : GeometryWords())
        if (upperCase(g.word) == upperCase(word)) return g;
    return std::nullopt;
}

int runFilter(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() == 1 && args[0] == "--list") {
        for (const DirectCommand& c : DirectCommands())
            ctx.out << c.word << "\n";
        for (const GeometryWord& g : GeometryWords())
            ctx.out << g.word << "\n";
        return 0;
    }
    std::vector<std::string> words;
    SelectionSteps selection;
    for (std::size_t i = 0; i < args.size();) {
        std::string error;
        switch (TakeSelectionOption(args, i, selection, error)) {
        case SelectionOption::Taken:
            continue;
        case SelectionOption::Bad:
            ctx.err << "velmar-cli filter: " << error << ".\n";
            return 2;
        case SelectionOption::NotOne:
            break;
        }
        if (args[i].starts_with("--")) {
            ctx.err << "velmar-cli filter: unknown option '" << args[i] << "'.\n";
            return 2;
        }
        words.push_back(args[i++]);
    }
    if (words.size() != 3) {
        ctx.err << "velmar-cli filter: give the key word, the picture to read and the file to "
                   "write.\nUsage: velmar-cli filter KEYWORD IN OUT [SELECTION]\n";
        return 2;
    }
    const DirectCommand* command = findWord(words[0]);
    const std::optional<GeometryWord> geometry = findGeometryWord(words[0]);
    if (geometry && !selection.empty()) {
        ctx.err << "velmar-cli filter: " << geometry->word
                << " turns or sizes the whole picture and takes no selection.\n";
        return 2;
    }
    if (command == nullptr && !geometry) {
        if (const auto index = FindDialogWord(upperCase(words[0]))) {
            ctx.err << "velmar-cli filter: " << words[0] << " opens the filter dialog at setup "
                    << *index << " (" << FilterSetupAt(*index).caption
                    << "): run it with velmar-cli dialog " << *index << " IN OUT ...\n";
        } else {
            ctx.err << "velmar-cli filter: unknown key word '" << words[0]
                    << "'. velmar-cli filter --list prints the words.\n";
        }
        return 2;
    }
    if (!canSaveAs(words[2])) {
        ctx.err << "velmar-cli filter: no picture format is written for the name '" << words[2]
                << "'.\n";
        return 2;
    }
    if (geometry) {
        return runOnPicture(ctx, "filter", words[1], words[2], selection,
                            [&](cBitFilter& f, const Bits& picture, const Region*) {
                                return ApplyGeometryWord(f, picture, *geometry);
                            });
    }
    return runOnPicture(ctx, "filter", words[1], words[2], selection,
                        [&](cBitFilter& f, Bits& picture, const Region* area) {
                            f.Bits(std::move(picture));
                            f.BitsRegion(area);
                            // The words the dispatcher accepts without any action leave the
                            // picture as it is.
                            return command->call != nullptr ? command->call(f) : f.TakeBits();
                        });
}

// ---- dialog --------------------------------------------------------------------------------

bool parseColour(std::string_view text, COLORREF& colour) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return false;
    colour = value;
    return true;
}

bool parsePoint(std::string_view text, float& x, float& y) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) return false;
    double v[2] = {};
    const std::string_view parts[2] = {text.substr(0, comma), text.substr(comma + 1)};
    for (int k = 0; k < 2; ++k) {
        const std::string_view part = parts[k];
        const auto [end, ec] = std::from_chars(part.data(), part.data() + part.size(), v[k]);
        if (part.empty() || ec != std::errc() || end != part.data() + part.size() ||
            !(v[k] >= 0.0 && v[k] <= 1.0))
            return false;
    }
    x = static_cast<float>(v[0]);
    y = static_cast<float>(v[1]);
    return true;
}

// Three numbers each 0..`most`, for the banks options.
bool parseTriple(std::string_view text, std::int32_t most, std::array<std::int32_t, 3>& out) {
    std::vector<std::int32_t> n;
    if (!ParseNumberList(text, n) || n.size() != 3) return false;
    for (std::size_t i = 0; i < 3; ++i) {
        if (n[i] < 0 || n[i] > most) return false;
        out[i] = n[i];
    }
    return true;
}

bool isNumber(const std::string& s) {
    const std::size_t digit = s.starts_with('-') ? 1 : 0;
    return s.size() > digit && std::isdigit(static_cast<unsigned char>(s[digit]));
}

// The p values a setup takes on the command line, with their ranges: the sliders (after the
// centred offset), the glass mode, the curtain button.
struct ArgumentRange {
    std::string label;
    std::int32_t low, high;
};

std::vector<ArgumentRange> argumentRanges(const FilterSetup& s) {
    std::vector<ArgumentRange> r;
    for (const SliderSetup& slider : s.Sliders())
        r.push_back({std::string(slider.label), slider.ControlMin() - slider.Offset(),
                     slider.ControlMax() - slider.Offset()});
    if (s.glassFrame)
        r.push_back({"Mode (0 Light, 1 Tight, 2 Large)", 0,
                     static_cast<std::int32_t>(GlassModes().size()) - 1});
    if (s.curtainFrame)
        r.push_back({"Curtain (1 Horizontal, 2 Vertical, 3 Classy, 4 Whity)", 0, 4});
    return r;
}

void listSetups(std::ostream& out) {
    for (const FilterSetup& s : FilterSetups()) {
        out << s.index << "  " << s.caption << "\n";
        const std::vector<ArgumentRange> ranges = argumentRanges(s);
        const DialogValues start = s.StartValues();
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            out << "      P" << i << " " << ranges[i].label << " " << ranges[i].low << ".."
                << ranges[i].high << ", default " << start.p[i];
            if (i < s.Sliders().size() && (s.sliders[i].centred || s.sliders[i].scale != 1.0))
                out << " (shown as (P + " << s.sliders[i].Offset() << ") * " << s.sliders[i].scale
                    << ")";
            out << "\n";
        }
        if (!s.option.empty()) out << "      --option  \"" << s.option << "\"\n";
        if (s.colours == ColourFrame::Colours)
            out << "      --col0 C  key colour (default: the picture's colour at --point)\n";
        if (s.colours != ColourFrame::None) out << "      --col1 C  colour (default 0xFFFFFF)\n";
        if (s.pickedPoint || s.colours == ColourFrame::Colours)
            out << "      --point X,Y  fractions of the picture (default 0.5,0.5)\n";
        if (s.glassFrame) out << "      --glass slanting|horizontal|vertical|squary\n";
        if (s.banksFrame)
            out << "      --banks R,G,B  source channel of each output, 0 blue 1 green 2 red "
                   "(default 2,1,0)\n      --invert-banks R,G,B  --kill-banks R,G,B  0 or 1\n";
    }
}

struct DialogArgs {
    std::vector<std::string> words;
    std::vector<std::int32_t> p;
    bool option = false;
    std::optional<COLORREF> col0, col1;
    std::optional<std::pair<float, float>> point;
    std::optional<std::string> glass;
    std::optional<std::array<std::int32_t, 3>> banks, invert, kill;
    SelectionSteps selection;
};

// Reads the arguments; an empty string when they are well formed, else the reason.
std::string parseDialogArgs(std::span<const std::string> args, DialogArgs& a) {
    for (std::size_t i = 0; i < args.size();) {
        std::string error;
        switch (TakeSelectionOption(args, i, a.selection, error)) {
        case SelectionOption::Taken:
            continue;
        case SelectionOption::Bad:
            return error;
        case SelectionOption::NotOne:
            break;
        }
        const std::string& arg = args[i];
        if (!arg.starts_with("--")) {
            if (a.words.size() < 3) {
                a.words.push_back(arg);
            } else {
                std::vector<std::int32_t> n;
                if (!isNumber(arg) || !ParseNumberList(arg, n) || n.size() != 1)
                    return "'" + arg + "' is not a whole number";
                a.p.push_back(n[0]);
            }
            ++i;
            continue;
        }
        if (arg == "--option") {
            a.option = true;
            ++i;
            continue;
        }
        if (i + 1 >= args.size()) return arg + " needs a value";
        const std::string& value = args[i + 1];
        i += 2;
        COLORREF colour = 0;
        float x = 0, y = 0;
        std::array<std::int32_t, 3> triple{};
        if (arg == "--col0" || arg == "--col1") {
            if (!parseColour(value, colour))
                return arg + " takes a colour as a decimal number or 0xBBGGRR, not '" + value + "'";
            (arg == "--col0" ? a.col0 : a.col1) = colour;
        } else if (arg == "--point") {
            if (!parsePoint(value, x, y)) return "--point takes X,Y, two fractions 0..1";
            a.point = {x, y};
        } else if (arg == "--glass") {
            a.glass = value;
        } else if (arg == "--banks") {
            // The dialog takes a source from the output that had it: each is used once.
            std::array<std::int32_t, 3> sorted{};
            if (parseTriple(value, 2, triple)) {
                sorted = triple;
                std::sort(sorted.begin(), sorted.end());
            }
            if (sorted != std::array<std::int32_t, 3>{0, 1, 2})
                return "--banks takes the three channels 0, 1, 2 in some order";
            a.banks = triple;
        } else if (arg == "--invert-banks" || arg == "--kill-banks") {
            if (!parseTriple(value, 1, triple)) return arg + " takes three flags 0 or 1";
            (arg == "--invert-banks" ? a.invert : a.kill) = triple;
        } else {
            return "unknown option '" + arg + "'";
        }
    }
    return {};
}

// The dialog's values from the arguments: checks that each fits the setup.
std::string dialogValues(const FilterSetup& s, const DialogArgs& a, DialogValues& v) {
    v = s.StartValues();
    const std::vector<ArgumentRange> ranges = argumentRanges(s);
    if (a.p.size() > ranges.size())
        return "setup " + std::to_string(s.index) + " takes " + std::to_string(ranges.size()) +
               " value" + (ranges.size() == 1 ? "" : "s") + " P";
    for (std::size_t i = 0; i < a.p.size(); ++i) {
        if (a.p[i] < ranges[i].low || a.p[i] > ranges[i].high)
            return "P" + std::to_string(i) + " (" + ranges[i].label + ") runs from " +
                   std::to_string(ranges[i].low) + " to " + std::to_string(ranges[i].high);
        v.p[i] = a.p[i];
    }
    const auto refuse = [&](std::string_view option) {
        return std::string(option) + " is not an option of setup " + std::to_string(s.index) +
               " (" + std::string(s.caption) + ")";
    };
    if (a.option) {
        if (s.option.empty()) return refuse("--option");
        v.option = true;
    }
    if (a.col0) {
        if (s.colours != ColourFrame::Colours) return refuse("--col0");
        v.col0 = *a.col0;
    }
    if (a.col1) {
        if (s.colours == ColourFrame::None) return refuse("--col1");
        v.col1 = *a.col1;
    }
    if (a.point) {
        if (!s.pickedPoint && s.colours != ColourFrame::Colours) return refuse("--point");
        v.x = a.point->first;
        v.y = a.point->second;
    }
    if (a.glass) {
        if (!s.glassFrame) return refuse("--glass");
        const auto styles = GlassStyles();
        if (std::find(styles.begin(), styles.end(), *a.glass) == styles.end())
            return "--glass takes slanting, horizontal, vertical or squary";
        v.glassStyle = *a.glass;
    }
    if (a.banks || a.invert || a.kill) {
        if (!s.banksFrame)
            return refuse(a.banks ? "--banks" : a.invert ? "--invert-banks" : "--kill-banks");
        if (a.banks) v.p = *a.banks;
        for (std::size_t i = 0; i < 3; ++i) {
            if (a.invert) v.invert[i] = (*a.invert)[i] != 0;
            if (a.kill) v.kill[i] = (*a.kill)[i] != 0;
        }
    }
    return {};
}

int runDialog(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() == 1 && args[0] == "--list") {
        listSetups(ctx.out);
        return 0;
    }
    constexpr std::string_view kUsage =
        "Usage: velmar-cli dialog INDEX IN OUT [P0 [P1 [P2]]] [options] [SELECTION]\n";
    DialogArgs a;
    if (const std::string error = parseDialogArgs(args, a); !error.empty()) {
        ctx.err << "velmar-cli dialog: " << error << ".\n" << kUsage;
        return 2;
    }
    if (a.words.size() != 3) {
        ctx.err << "velmar-cli dialog: give the setup's index, the picture to read and the file "
                   "to write.\n"
                << kUsage;
        return 2;
    }
    std::vector<std::int32_t> index;
    if (!ParseNumberList(a.words[0], index) || index.size() != 1 || index[0] < 0 ||
        index[0] >= kFilterSetupCount) {
        ctx.err << "velmar-cli dialog: there is no setup '" << a.words[0]
                << "'. velmar-cli dialog --list prints the setups 0 to " << kFilterSetupCount - 1
                << ".\n";
        return 2;
    }
    const FilterSetup& setup = FilterSetupAt(index[0]);
    DialogValues values;
    if (const std::string error = dialogValues(setup, a, values); !error.empty()) {
        ctx.err << "velmar-cli dialog: " << error << ".\n";
        return 2;
    }
    if (!canSaveAs(a.words[2])) {
        ctx.err << "velmar-cli dialog: no picture format is written for the name '" << a.words[2]
                << "'.\n";
        return 2;
    }
    const bool pickKey = setup.colours == ColourFrame::Colours && !a.col0;
    return runOnPicture(
        ctx, "dialog", a.words[1], a.words[2], a.selection,
        [&](cBitFilter& f, Bits& source, const Region* area) {
            f.Bits(std::move(source));
            f.BitsRegion(area);
            const velmar::Bits& picture = f.BitsView();
            // The lens and light radius is counted in the preview's larger side, as the dialog
            // would show this picture.
            int previewWidth = 0, previewHeight = 0;
            FitInside(picture.Width(), picture.Height(), 160, 110, previewWidth, previewHeight);
            values.previewSide = std::max(previewWidth, previewHeight);
            // The dialog picks its key colour from the picture at the point.
            if (pickKey && picture.Width() > 0 && picture.Height() > 0) {
                const auto at = [](float fraction, int size) {
                    return std::clamp(
                        static_cast<int>(std::floor(fraction * static_cast<float>(size))), 0,
                        size - 1);
                };
                const int x = at(values.x, picture.Width());
                const int y = at(values.y, picture.Height());
                values.col0 = static_cast<COLORREF>(picture(Bits::Red, x, y)) |
                              static_cast<COLORREF>(picture(Bits::Green, x, y)) << 8 |
                              static_cast<COLORREF>(picture(Bits::Blue, x, y)) << 16;
            }
            return setup.call(f, values);
        });
}

} // namespace

CliCommand filterCommand() {
    static const std::string summary =
        "run a filter menu word of the editor (velmar-cli filter --list prints them) on IN, or on "
        "the SELECTION of it, and save the result as OUT; the turns N45..A270 and the sizes "
        "2x..x5 work on the whole picture. SELECTION: " +
        std::string(kSelectionUsage);
    return {"filter", "KEYWORD IN OUT [SELECTION] | --list", summary, runFilter};
}

CliCommand dialogCommand() {
    return {"dialog",
            "INDEX IN OUT [P0 [P1 [P2]]] [--option] [--col0 C] [--col1 C] [--point X,Y] "
            "[--glass STYLE] [--banks R,G,B] [--invert-banks R,G,B] [--kill-banks R,G,B] "
            "[SELECTION] | --list",
            "run setup INDEX of the filter dialog with the values P after its centre offset "
            "(velmar-cli dialog --list prints the setups, their values and defaults) on IN and "
            "save the result as OUT; C is a colour, decimal or 0xBBGGRR",
            runDialog};
}

} // namespace velmar::cli
