// velmar-cli run [--app-folder DIR] SCRIPT|- : a session of the editor without its windows. Each
// line of the script is a key word of the menus, with the answers a dialog would ask for as
// arguments. Message boxes are printed with their titles and answered with their default
// button; the run stops at the first command that fails.
#include "document/tools.h"
#include "filters/fFilter.h"
#include "filters/filterCommands.h"
#include "pixel/RegionFile.h"
#include "pixel/RuntimeError.h"
#include "shell/Application.h"
#include "shell/cli/CliCommand.h"
#include "shell/dispatch.h"
#include "shell/sizeDialogs.h"
#include "shell/startup.h"

#include <unistd.h>

#include <charconv>
#include <deque>
#include <fstream>
#include <iostream>
#include <limits.h>
#include <optional>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmar::cli {

namespace {

constexpr std::string_view kGrammar =
    R"(Script lines (blank lines and lines starting with # are skipped):
        KEYWORD                 any key word of the menus (HEAVYEMBOSS, UNDO, CROP, N90, 200, ...)
        OPEN FILE...            File, Open with these files chosen
        SAVEAS FILE             File, Save As with this name typed
        SELECT rect|ellipse L T R B [add|subtract|new]
        SELECT polygon X1 Y1 X2 Y2 X3 Y3 ... [add|subtract|new]
        SELECT all | none | region FILE
        TOOL NAME X1 Y1 [X2 Y2 ...]   a stroke of the tool through the points
        SET FIELD VALUE         a number field of the setup record (SET BrushSize 12)
        STAMP FILE              the stamp picture of the stamp tools
        ACTIVATE N              the N-th open document (from 1) gets the focus
        NEW W H                 the New dialog; IMAGESIZE W H [anti]; CANVASSIZE W H;
        IMAGEORIENTATION TURNS [flipv] [fliph]; IMAGEROTATE DEGREES [plain];
        IMAGERESOLUTION PRESET [plain]
        FILTERWORD [P0 [P1 [P2]]]   a word that opens the filter dialog, accepted with these values
      Colours are decimal or 0xBBGGRR.)";

bool toInt(std::string_view text, int& value) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
        base = 16;
    }
    long long v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v, base);
    if (ec != std::errc{} || end != text.data() + text.size() || v < INT_MIN || v > UINT_MAX)
        return false;
    value = static_cast<int>(static_cast<unsigned>(v));
    return true;
}

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The user port of a script: messages are printed, dialogs answered from the script's line,
// and the clipboard is kept in memory so that copy and paste work within a session.
class ScriptPort final : public UserPort {
  public:
    explicit ScriptPort(std::ostream& out) : out_(out) {}

    std::vector<std::string> openAnswer;
    std::optional<std::string> saveAnswer;
    std::vector<std::string> formArgs;
    Application* app = nullptr;
    bool failed = false;
    std::string failure;

    MsgResult MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                     const std::string& title) override {
        out_ << title << ": " << text << "\n";
        if (icon == MsgIcon::Warning || icon == MsgIcon::Critical || icon == MsgIcon::None)
            fail(text);
        switch (buttons) {
        case MsgButtons::YesNo:
        case MsgButtons::YesNoCancel:
            return MsgResult::Yes;
        default:
            return MsgResult::Ok;
        }
    }
    bool SetClipboardPicture(const ClipboardPicture& picture) override {
        clipboard_ = picture;
        return true;
    }
    std::optional<ClipboardPicture> GetClipboardPicture() override { return clipboard_; }
    std::vector<std::string> OpenFileDialog(const FileDialogSetup&, bool) override {
        return std::exchange(openAnswer, {});
    }
    std::optional<std::string> SaveFileDialog(const FileDialogSetup&) override {
        return std::exchange(saveAnswer, std::nullopt);
    }
    bool ShowForm(std::string_view form, int argument) override;

  private:
    void fail(const std::string& why) {
        if (!failed) failure = why;
        failed = true;
    }
    int number(std::size_t i, const char* what) const {
        int v = 0;
        if (i >= formArgs.size() || !toInt(formArgs[i], v))
            throw Failure(std::string("expected ") + what);
        return v;
    }
    bool flag(std::string_view word) const {
        for (const std::string& a : formArgs)
            if (a == word) return true;
        return false;
    }
    bool runFilterDialog(int index);

    std::ostream& out_;
    std::optional<ClipboardPicture> clipboard_;
};

bool ScriptPort::ShowForm(std::string_view form, int argument) {
    Application& a = *app;
    bool done = true;
    if (form == "fNew") {
        fNew d(a);
        d.Size.SetWidth(number(0, "a width"));
        d.Size.SetHeight(number(1, "a height"));
        done = d.OK();
    } else if (form == "fSize") {
        fSize d(a);
        d.Size.SetWidth(number(0, "a width"));
        d.Size.SetHeight(number(1, "a height"));
        d.chkInterpolate = flag("anti");
        done = d.OK();
    } else if (form == "fCanvas") {
        fCanvas d(a);
        d.Size.SetWidth(number(0, "a width"));
        d.Size.SetHeight(number(1, "a height"));
        done = d.OK();
    } else if (form == "fOrientation") {
        fOrientation d(a);
        d.cbOrientation = number(0, "a number of quarter turns");
        d.FlipVertical = flag("flipv");
        d.FlipHorizontal = flag("fliph");
        done = d.OK();
    } else if (form == "fRotate") {
        fRotate d(a);
        d.Degrees = static_cast<std::int16_t>(number(0, "degrees"));
        d.chkAntialiasing = !flag("plain");
        done = d.OK();
    } else if (form == "fResolution") {
        fResolution d(a);
        d.Preset(number(0, "a preset number"));
        d.chkAnti = !flag("plain");
        done = d.OK();
    } else if (form == "fFilter") {
        done = runFilterDialog(argument);
    } else {
        throw Failure("the window " + std::string(form) + " is not available in velmar-cli");
    }
    if (!done) fail("the dialog refused its values");
    return true;
}

bool ScriptPort::runFilterDialog(int index) {
    fImage* doc = nullptr;
    if (!app->GetActiveImage(doc)) return false;
    fFilter dialog(*doc, index);
    const FilterSetup& setup = FilterSetupAt(index);
    for (std::size_t i = 0; i < formArgs.size() && i < setup.Sliders().size(); ++i) {
        int p = 0;
        if (!toInt(formArgs[i], p)) throw Failure("expected a slider value");
        dialog.SetSlider(static_cast<int>(i), p + setup.sliders[i].Offset());
    }
    dialog.cmdOK();
    return true;
}

// The number of the setup record's 16- or 32-bit field `name`.
bool setField(SetupRecord& record, std::string_view name, int value) {
    bool found = false;
    VisitFields(record, [&](std::string_view field, auto& v) {
        using T = std::decay_t<decltype(v)>;
        if (field != name) return;
        if constexpr (std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t>) {
            v = static_cast<T>(value);
            found = true;
        }
    });
    return found;
}

// The selection tool's modes: "subtract" takes away (DIFF); "add" and "new" add (OR), "new"
// after the selection was cleared.
int combineOf(std::string_view word) {
    return word == "subtract" ? 4 : 2;
}

void select(Application& app, const std::vector<std::string>& args) {
    fImage* doc = nullptr;
    if (!app.GetActiveImage(doc)) throw Failure("no document is open");
    if (args.empty()) throw Failure("SELECT needs a shape");
    cBitRegion& region = doc->BitsRegion();
    const std::string& shape = args[0];
    if (shape == "all") {
        doc->SelectWholePicture();
        return;
    }
    if (shape == "none") {
        region.Init(0, 0, doc->PictureWidth(), doc->PictureHeight());
        return;
    }
    if (shape == "region") {
        if (args.size() != 2) throw Failure("SELECT region needs a file");
        try {
            region.LoadFromFile(args[1]);
        } catch (const RegionFileError& e) {
            throw Failure(e.what());
        }
        return;
    }
    std::vector<std::int32_t> numbers;
    int mode = 2;
    for (std::size_t i = 1; i < args.size(); ++i) {
        int v = 0;
        if (toInt(args[i], v))
            numbers.push_back(v);
        else if (i + 1 == args.size() &&
                 (args[i] == "add" || args[i] == "subtract" || args[i] == "new")) {
            mode = combineOf(args[i]);
            if (args[i] == "new") region.Init(0, 0, doc->PictureWidth(), doc->PictureHeight());
        } else
            throw Failure("bad number '" + args[i] + "'");
    }
    if (shape == "rect" || shape == "ellipse") {
        if (numbers.size() != 4) throw Failure("SELECT " + shape + " needs L T R B");
        if (shape == "rect")
            region.CreateRect(numbers[0], numbers[1], numbers[2], numbers[3], mode, true);
        else
            region.CreateEllipse(numbers[0], numbers[1], numbers[2], numbers[3], mode, true);
    } else if (shape == "polygon") {
        if (numbers.size() < 6 || numbers.size() % 2 != 0)
            throw Failure("SELECT polygon needs at least three X Y pairs");
        region.CreatePolygon(numbers, mode, true);
    } else {
        throw Failure("unknown shape '" + shape + "'");
    }
}

void stroke(Application& app, const std::vector<std::string>& args) {
    fImage* doc = nullptr;
    if (!app.GetActiveImage(doc)) throw Failure("no document is open");
    if (args.size() < 3 || args.size() % 2 == 0) throw Failure("TOOL needs a name and X Y pairs");
    app.Setup.Tool = args[0];
    std::vector<std::pair<int, int>> points;
    for (std::size_t i = 1; i + 1 < args.size(); i += 2) {
        int x = 0, y = 0;
        if (!toInt(args[i], x) || !toInt(args[i + 1], y)) throw Failure("bad point");
        points.emplace_back(x, y);
    }
    DocumentTools& tools = app.Tools();
    tools.MouseDown(*doc, points.front().first, points.front().second);
    for (std::size_t i = 1; i < points.size(); ++i)
        tools.MouseMove(*doc, points[i].first, points[i].second, true);
    tools.MouseUp(*doc, points.back().first, points.back().second);
}

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string w; in >> w;)
        words.push_back(w);
    return words;
}

void runLine(Application& app, ScriptPort& port, const std::vector<std::string>& words) {
    const std::string& key = words[0];
    const std::vector<std::string> args(words.begin() + 1, words.end());
    port.formArgs = args;
    if (key == "OPEN") {
        if (args.empty()) throw Failure("OPEN needs a file");
        port.openAnswer = args;
        app.Command("OPEN");
    } else if (key == "SAVEAS") {
        if (args.size() != 1) throw Failure("SAVEAS needs one file name");
        port.saveAnswer = args[0];
        app.Command("SAVEAS");
    } else if (key == "SELECT") {
        select(app, args);
    } else if (key == "TOOL") {
        stroke(app, args);
    } else if (key == "SET") {
        int v = 0;
        if (args.size() != 2 || !toInt(args[1], v) || !setField(app.Setup, args[0], v))
            throw Failure("SET needs a number field of the setup record and a number");
    } else if (key == "STAMP") {
        if (args.size() != 1) throw Failure("STAMP needs a file");
        app.Tools().SetStampFile(args[0]);
        if (!app.Tools().GetStampBits()) throw Failure("the stamp could not be read");
    } else if (key == "ACTIVATE") {
        int n = 0;
        if (args.size() != 1 || !toInt(args[0], n) || n < 1 ||
            n > static_cast<int>(app.Documents().size()))
            throw Failure("ACTIVATE needs the number of an open document");
        app.Activate(*app.Documents()[static_cast<std::size_t>(n - 1)]);
    } else if (!app.Command(key)) {
        throw Failure("unknown key word '" + key + "'");
    }
}

int run(CliContext& ctx, std::span<const std::string> args) {
    std::filesystem::path appFolder;
    std::string script;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--app-folder" && i + 1 < args.size())
            appFolder = args[++i];
        else if (script.empty())
            script = args[i];
        else
            script.clear(), i = args.size();
    }
    if (script.empty()) {
        ctx.err << "velmar-cli run: usage: velmar-cli run [--app-folder DIR] SCRIPT|-\n";
        return 2;
    }
    if (appFolder.empty()) appFolder = ProgramFolder();
    std::ifstream file;
    if (script != "-") {
        file.open(script);
        if (!file) {
            ctx.err << "velmar-cli run: cannot read '" << script << "'\n";
            return 1;
        }
    }
    std::istream& in = script == "-" ? std::cin : file;

    ScriptPort port(ctx.out);
    std::unique_ptr<Application> app;
    try {
        app = StartHeadless(appFolder, port);
    } catch (const std::exception& e) {
        ctx.err << "velmar-cli run: " << e.what() << "\n";
        return 1;
    }
    port.app = app.get();
    int status = 0;
    int lineNumber = 0;
    for (std::string line; std::getline(in, line);) {
        ++lineNumber;
        const std::vector<std::string> words = wordsOf(line);
        if (words.empty() || words[0][0] == '#') continue;
        try {
            runLine(*app, port, words);
        } catch (const Failure& e) {
            port.failed = true;
            port.failure = e.what();
        } catch (const RuntimeError& e) {
            port.failed = true;
            port.failure = "Run-time error " + std::to_string(e.number()) + ": " + e.what();
        } catch (const std::exception& e) {
            port.failed = true;
            port.failure = e.what();
        }
        if (port.failed) {
            ctx.err << "velmar-cli run: line " << lineNumber << ": " << words[0]
                    << " failed: " << port.failure << "\n";
            status = 1;
            break;
        }
    }
    try {
        StopHeadless(*app);
    } catch (const std::exception& e) {
        ctx.err << "velmar-cli run: " << e.what() << "\n";
        status = 1;
    }
    return status;
}

} // namespace

CliCommand runCommand() {
    static const std::string summary =
        "runs a script of key words against the editor's core, one per line; the application "
        "folder defaults to the program's.\n      " +
        std::string(kGrammar);
    return {"run", "[--app-folder DIR] SCRIPT|-", summary, run};
}

} // namespace velmar::cli
