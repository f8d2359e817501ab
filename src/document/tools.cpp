#include "document/tools.h"

#include "formats/gateway.h"
#include "port/UserPort.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace velmar {

namespace {

PlainPicture plainOf(const velmar::Bits& bits) {
    PlainPicture p{bits.Width(), bits.Height(), {}};
    p.bytes.resize(static_cast<std::size_t>(bits.Width()) * bits.Height() * 4);
    for (int y = 0; y < bits.Height(); ++y)
        std::memcpy(&p.bytes[static_cast<std::size_t>(y) * bits.Width() * 4], bits.Row(y),
                    static_cast<std::size_t>(bits.Width()) * 4);
    return p;
}

COLORREF colourAt(const PlainPicture& p, int x, int y) {
    return static_cast<COLORREF>(p.at(2, x, y)) | (static_cast<COLORREF>(p.at(1, x, y)) << 8) |
           (static_cast<COLORREF>(p.at(0, x, y)) << 16);
}

int sign(int v) {
    return v < 0 ? -1 : 1;
}

// The selection's combine mode for the panel's "Add", "Subtract", "New": "New" cleared the
// selection at the mouse down, so it adds like "Add".
int combineMode(std::int16_t selectionMode) {
    return selectionMode == 1 ? 4 : 2; // DIFF or OR
}

} // namespace

DocumentTools::DocumentTools(SetupRecord& setup, cBitFilter& filter, StatusPanels& status,
                             UserPort& port)
    : setup_(setup), filter_(filter), status_(status), port_(port) {}

void DocumentTools::SetStampFile(const std::string& file) {
    try {
        if (std::optional<velmar::Bits> bits = LoadPictureFile(file, LoadSite::Document))
            stamp_ = plainOf(*bits);
    } catch (const std::exception&) {
        // The last stamp stays in use.
    }
}

void DocumentTools::BeginPaste(fImage& doc, PlainPicture clip) {
    DropPaste();
    if (!doc.PictureExists() || clip.width < 1 || clip.height < 1) return;
    pasteDoc_ = &doc;
    pasteClip_ = std::move(clip);
    pasteBase_ = doc.Bits().clone();
    setup_.PasteActive = kFlagTrue;
    // Until the mouse moves, the float stands at the picture's top-left corner, so the user
    // sees at once what will be laid down.
    paintFloat(doc, pasteClip_.width / 2, pasteClip_.height / 2);
}

void DocumentTools::DropPaste() {
    if (pasteDoc_ && IsSet(setup_.PasteActive) && pasteBase_.Width() == pasteDoc_->PictureWidth() &&
        pasteBase_.Height() == pasteDoc_->PictureHeight()) {
        std::memcpy(pasteDoc_->Bits().Data(), pasteBase_.Data(), pasteBase_.SizeBytes());
        pasteDoc_->View().UpdateImage();
    }
    pasteDoc_ = nullptr;
    pasteBase_ = {};
    pasteClip_ = {};
    setup_.PasteActive = kFlagFalse;
}

bool DocumentTools::floating(const fImage& doc) const {
    return IsSet(setup_.PasteActive) && pasteDoc_ == &doc;
}

// The float is drawn on the picture it floats over, centred on (x, y), through the selection.
void DocumentTools::paintFloat(fImage& doc, int x, int y) {
    if (pasteBase_.Width() != doc.PictureWidth() || pasteBase_.Height() != doc.PictureHeight())
        return;
    std::memcpy(doc.Bits().Data(), pasteBase_.Data(), pasteBase_.SizeBytes());
    const Region* selection = doc.BitsRegion().Region();
    const int left = x - pasteClip_.width / 2;
    const int top = y - pasteClip_.height / 2;
    for (int sy = 0; sy < pasteClip_.height; ++sy)
        for (int sx = 0; sx < pasteClip_.width; ++sx)
            if (selection && selection->Contains(left + sx, top + sy))
                doc.BitsPaintPreMasked(left + sx, top + sy, colourAt(pasteClip_, sx, sy),
                                       setup_.PasteOpacity);
    doc.View().UpdateImage();
}

void DocumentTools::Forget(const fImage& doc) {
    if (stroke_ == &doc) stroke_ = nullptr;
    if (pasteDoc_ == &doc) {
        pasteDoc_ = nullptr;
        DropPaste();
    }
}

// sync: the filter object takes a copy of the document's picture, the state every preview of
// the next stroke starts from. restore: the document takes that picture back.
void DocumentTools::sync(fImage& doc) {
    filter_.Bits(doc.Bits().clone());
}

void DocumentTools::restore(fImage& doc) {
    const velmar::Bits& start = filter_.BitsView();
    if (start.Width() != doc.PictureWidth() || start.Height() != doc.PictureHeight()) return;
    std::memcpy(doc.Bits().Data(), start.Data(), start.SizeBytes());
}

void DocumentTools::commit(fImage& doc) {
    doc.View().UpdateImage();
    doc.SaveUndoBits();
    doc.Changed = true;
}

void DocumentTools::MouseDown(fImage& doc, int x, int y) {
    if (!doc.PictureExists()) return;
    stroke_ = &doc;
    if (floating(doc)) {
        paintFloat(doc, x, y);
        return;
    }
    downX_ = lastX_ = x;
    downY_ = lastY_ = y;
    DocumentView& view = doc.View();
    const std::string t = tool();
    if (t == "Select") {
        view.SetMouseCursor("Default");
        if (setup_.SelectionMode == 2)
            doc.BitsRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
        switch (setup_.SelectionShape) {
        case 0:
            view.ShowShape(ShapeBand::Rectangle, x, y, x, y);
            break;
        case 1:
            view.ShowShape(ShapeBand::Ellipse, x, y, x, y);
            break;
        case 2:
            points_ = {x, y};
            break;
        default:
            view.SetAutoRedraw(false);
            view.StopTimer();
            doc.BitsRegion().CreateRect(x, y, x + 1, y + 1, combineMode(setup_.SelectionMode),
                                        true);
            break;
        }
    } else if (t == "SelectionMove") {
        const Region* selection = doc.BitsRegion().Region();
        grabbed_ = selection && selection->Contains(x, y);
        if (!IsSet(setup_.MoveSelection) && selection) {
            // The content lifts: the selected pixels are kept with their places, and the
            // picture under them is what the stroke starts from.
            lifted_.clear();
            const IntRect box = selection->Box();
            for (int py = std::max(box.top, 0); py < std::min(box.bottom, doc.PictureHeight());
                 ++py)
                for (int px = std::max(box.left, 0); px < std::min(box.right, doc.PictureWidth());
                     ++px)
                    if (selection->Contains(px, py))
                        lifted_.push_back({px, py, doc.BitsGetPixel(px, py)});
            sync(doc);
        }
    } else if (t == "Brush" || t == "Airbrush" || t == "Shape" || t == "Pencil" || t == "Stamp" ||
               t == "Text") {
        view.StopTimer();
        sync(doc);
        if (t == "Brush") {
            doc.CreateDoneBitsTable();
            view.SetMouseCursor("cBrush");
        } else if (t == "Airbrush") {
            view.SetMouseCursor("cAirBrush");
        } else if (t == "Pencil" || t == "Text") {
            view.SetMouseCursor("cPencil");
        } else if (t == "Stamp") {
            view.SetMouseCursor("cTextures");
        }
        MouseMove(doc, x, y, true);
    } else if (t == "Fill") {
        view.SetMouseCursor("cFill");
    } else if (t == "Gradient") {
        view.SetMouseCursor("cGradient");
        view.SetAutoRedraw(false);
        view.StopTimer();
    } else if (t == "GetColor") {
        view.SetMouseCursor("cPicker");
        MouseMove(doc, x, y, true);
    }
}

void DocumentTools::MouseMove(fImage& doc, int x, int y, bool held) {
    status_.Set(StatusPanels::Pos, "X:" + std::to_string(x) + " Y:" + std::to_string(y));
    // A floating paste follows the mouse whether a button is held or not.
    if (floating(doc)) {
        paintFloat(doc, x, y);
        return;
    }
    if (!held || stroke_ != &doc || !doc.PictureExists()) return;
    status_.Set(StatusPanels::Ext,
                std::to_string(std::abs(x - downX_)) + "," + std::to_string(std::abs(y - downY_)));
    DocumentView& view = doc.View();
    const std::string t = tool();
    if (t == "Select") {
        if (setup_.SelectionShape == 0)
            view.ShowShape(ShapeBand::Rectangle, downX_, downY_, x, y);
        else if (setup_.SelectionShape == 1)
            view.ShowShape(ShapeBand::Ellipse, downX_, downY_, x, y);
        else if (setup_.SelectionShape == 2)
            points_.insert(points_.end(), {x, y});
        else
            doc.BitsRegion().CreateRect(x, y, x + 1, y + 1, combineMode(setup_.SelectionMode),
                                        true);
    } else if (t == "SelectionMove") {
        if (IsSet(setup_.MoveSelection)) {
            if (grabbed_) {
                doc.BitsRegion().Offset(x - lastX_, y - lastY_);
                view.UpdateRegion();
            }
        } else {
            restore(doc);
            paintLifted(doc, x - downX_, y - downY_);
            view.UpdateImage();
        }
    } else if (t == "Brush" || t == "Pencil") {
        paintStep(doc, x, y);
        view.UpdateImage();
    } else if (t == "Airbrush") {
        doc.BitsAirbrush(x, y, setup_.AirbrushSize, setup_.AirbrushPressure,
                         setup_.AirbrushQuantity, setup_.AirbrushDefinition,
                         static_cast<COLORREF>(setup_.ForeColor));
        view.UpdateImage();
    } else if (t == "Shape") {
        shapeStep(doc, x, y);
        view.UpdateImage();
    } else if (t == "Stamp" || t == "Text") {
        stampStep(doc, x, y);
        view.UpdateImage();
    } else if (t == "Gradient") {
        view.ShowShape(ShapeBand::Line, downX_, downY_, x, y);
    } else if (t == "GetColor") {
        picked_ = doc.BitsGetPixel(x, y);
        if (onColourPicked) onColourPicked(picked_);
    }
    lastX_ = x;
    lastY_ = y;
}

void DocumentTools::MouseUp(fImage& doc, int x, int y) {
    if (floating(doc)) {
        // The float is laid down where the mouse lets go.
        stroke_ = nullptr;
        paintFloat(doc, x, y);
        pasteBase_ = {};
        DropPaste();
        sync(doc);
        commit(doc);
        return;
    }
    if (stroke_ != &doc || !doc.PictureExists()) return;
    stroke_ = nullptr;
    DocumentView& view = doc.View();
    const std::string t = tool();
    if (t == "Select") {
        selectUp(doc, x, y);
    } else if (t == "SelectionMove") {
        if (!IsSet(setup_.MoveSelection)) {
            sync(doc);
            view.UpdateImage();
        }
    } else if (t == "Fill") {
        view.SetMouseCursor("Hourglass");
        doc.CreateDoneBitsTable();
        if (setup_.FillMode == 1 && stamp_)
            doc.BitsFillTexture(x, y, *stamp_, setup_.FillTolerance, setup_.FillPressure);
        else
            doc.BitsFill(x, y, static_cast<COLORREF>(setup_.ForeColor), setup_.FillTolerance,
                         setup_.FillPressure);
        view.SetMouseCursor("Default");
        sync(doc);
        commit(doc);
    } else if (t == "Gradient") {
        view.HideShape();
        view.SetAutoRedraw(true);
        runGradient(doc, x, y);
    } else if (t == "GetColor") {
        setup_.ForeColor = static_cast<std::int32_t>(picked_);
    } else if (t == "Brush" || t == "Airbrush" || t == "Shape" || t == "Pencil" || t == "Stamp" ||
               t == "Text") {
        sync(doc);
        commit(doc);
    }
}

void DocumentTools::KeyUp(fImage& doc, int keyCode) {
    if (keyCode == 17 && tool() == "SelectionMove") doc.View().UpdateRegion();
}

void DocumentTools::paintStep(fImage& doc, int x, int y) {
    const auto colour = static_cast<COLORREF>(setup_.ForeColor);
    if (tool() == "Pencil") {
        // The pencil is one fixed, fully opaque line.
        doc.BitsLine(lastX_, lastY_, x, y, colour, 100);
        return;
    }
    const int size = setup_.BrushSize;
    const int pressure = setup_.BrushPressure;
    const bool trace = IsSet(setup_.BrushContinuous);
    switch (setup_.BrushMode) {
    case 0:
        if (trace)
            doc.BitsBrushLine(lastX_, lastY_, x, y, size, pressure, colour);
        else
            doc.BitsBrush(x, y, size, pressure, colour);
        break;
    case 1:
    case 2:
        doc.BitsSoften(x, y, size, pressure, setup_.BrushMode == 2);
        break;
    case 3:
        doc.BitsSharpen(x, y, size, pressure);
        break;
    case 4:
    case 5:
        doc.BitsBrightness(x, y, size, pressure, setup_.BrushMode == 4);
        break;
    case 6:
        if (!stamp_) break;
        if (trace)
            doc.BitsMaskedLine(lastX_, lastY_, x, y, *stamp_, size, pressure);
        else
            doc.BitsMasked(x, y, *stamp_, size, pressure);
        break;
    default:
        break;
    }
}

void DocumentTools::shapeStep(fImage& doc, int x, int y) {
    const auto colour = static_cast<COLORREF>(setup_.ForeColor);
    const int pressure = setup_.ShapePressure;
    const int dx = x - downX_;
    const int dy = y - downY_;
    if (setup_.ShapeKind == 1) { // "Free hand" draws on
        doc.BitsLine(lastX_, lastY_, x, y, colour, pressure);
        return;
    }
    restore(doc);
    switch (setup_.ShapeKind) {
    case 0:
        doc.BitsLine(downX_, downY_, x, y, colour, pressure);
        break;
    case 2: // "Square": the horizontal extent on both axes, each with its own sign
        doc.BitsRectangle(downX_, downY_, downX_ + std::abs(dx) * sign(dx),
                          downY_ + std::abs(dx) * sign(dy), colour, pressure);
        break;
    case 3:
        doc.BitsRectangle(downX_, downY_, x, y, colour, pressure);
        break;
    case 4:
        doc.BitsEllipse(downX_, downY_, std::abs(dx), std::abs(dx), colour, pressure);
        break;
    case 5:
        doc.BitsEllipse(downX_, downY_, std::abs(dx), std::abs(dy), colour, pressure);
        break;
    case 6:
        // The sides box has no limit of its own; a polygon needs at least one side.
        doc.BitsPolygon(downX_, downY_, x, y, std::max<int>(1, setup_.ShapeSides), colour,
                        pressure);
        break;
    default:
        break;
    }
}

void DocumentTools::stampStep(fImage& doc, int x, int y) {
    const bool text = tool() == "Text";
    const std::optional<PlainPicture>& stamp = text ? textStamp_ : stamp_;
    if (!stamp || stamp->width < 1 || stamp->height < 1) return;
    const auto colour = static_cast<COLORREF>(setup_.ForeColor);
    if (text) {
        restore(doc);
        doc.BitsBWMask(x, y, *stamp, 0, colour, setup_.TextOpacity);
        return;
    }
    if (IsSet(setup_.StampClearBack)) restore(doc);
    if (IsSet(setup_.StampMask)) {
        doc.BitsBWMask(x, y, *stamp, 0, colour, setup_.StampPressure);
        return;
    }
    // The stamp's picture is laid with its centre on the point.
    const int left = x - stamp->width / 2;
    const int top = y - stamp->height / 2;
    const Region* selection = doc.BitsRegion().Region();
    const auto maskColour = static_cast<COLORREF>(setup_.StampMaskColor);
    for (int sy = 0; sy < stamp->height; ++sy)
        for (int sx = 0; sx < stamp->width; ++sx) {
            const COLORREF c = colourAt(*stamp, sx, sy);
            if (IsSet(setup_.StampUseMaskColor)) {
                if (c != maskColour) doc.BitsPaint(left + sx, top + sy, c, setup_.StampPressure);
            } else if (selection && selection->Contains(left + sx, top + sy)) {
                doc.BitsPaintPreMasked(left + sx, top + sy, c, setup_.StampPressure);
            }
        }
}

void DocumentTools::selectUp(fImage& doc, int x, int y) {
    DocumentView& view = doc.View();
    cBitRegion& region = doc.BitsRegion();
    const int mode = combineMode(setup_.SelectionMode);
    const int left = std::min(downX_, x), right = std::max(downX_, x);
    const int top = std::min(downY_, y), bottom = std::max(downY_, y);
    switch (setup_.SelectionShape) {
    case 0:
        region.CreateRect(left, top, right, bottom, mode, true);
        break;
    case 1:
        region.CreateEllipse(left, top, right, bottom, mode, true);
        break;
    case 2:
        points_.insert(points_.end(), {x, y});
        region.CreatePolygon(points_, mode, true);
        points_.clear();
        break;
    default:
        break;
    }
    view.HideShape();
    view.SetAutoRedraw(true);
    view.UpdateImage();
    view.UpdateRegion();
    view.StartTimer();
}

void DocumentTools::runGradient(fImage& doc, int x, int y) {
    if (setup_.GradMode != 0 && setup_.GradMode != 1) return;
    const std::int32_t colour1 = IsSet(setup_.GradTransparent[0]) ? -1 : setup_.GradColor1;
    const std::int32_t colour2 = IsSet(setup_.GradTransparent[1]) ? -1 : setup_.GradColor2;
    const cBitRegion& region = doc.BitsRegion();
    filter_.Bits(doc.Bits().clone());
    filter_.BitsRegion(region.Region() ? region.Region() : region.RegionMain());
    try {
        velmar::Bits result =
            setup_.GradMode == 0
                ? filter_.GradientLinear(downX_, downY_, x, y, colour1, colour2,
                                         setup_.GradPressure, setup_.GradFrequency)
                : filter_.GradientCircular(downX_, downY_, x, y, colour1, colour2,
                                           setup_.GradPressure, setup_.GradFrequency);
        filter_.BitsRegion(nullptr);
        doc.Bits(std::move(result));
    } catch (const std::exception& e) {
        filter_.BitsRegion(nullptr);
        port_.MsgBox(e.what(), MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
        return;
    }
    sync(doc);
    commit(doc);
}

void DocumentTools::paintLifted(fImage& doc, int dx, int dy) {
    for (const LiftedPixel& p : lifted_)
        doc.BitsPaintPreMasked(p.x + dx, p.y + dy, p.colour, setup_.PasteOpacity);
}

} // namespace velmar
