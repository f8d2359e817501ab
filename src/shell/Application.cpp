#include "shell/Application.h"

#include "document/tools.h"
#include "filters/documentGeometry.h"
#include "pixel/RuntimeError.h"
#include "shell/instanceLock.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace velmar {

void ShowRunTimeError(UserPort& port, const RuntimeError& error) {
    port.MsgBox("Run-time error '" + std::to_string(error.number()) + "':\n\n" + error.what(),
                MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
}

Application::Application(std::filesystem::path appFolder, UserPort& port, const SetupRecord& record)
    : Setup(record), appFolder_(std::move(appFolder)), port_(port),
      tools_(std::make_unique<DocumentTools>(Setup, filter_, Status, port_)) {
    filter_.SetProgress([this](std::int32_t percent) {
        port_.Progress(percent);
        port_.PumpEvents();
    });
}

Application::~Application() = default;

bool Application::GetActiveImage(fImage*& out) const {
    if (!active_) return false;
    out = active_;
    return true;
}

fImage& Application::NewDocument() {
    documents_.push_back(std::make_unique<fImage>(documentCounter_, TempFolder()));
    fImage& doc = *documents_.back();
    doc.SetStatus(&Status);
    return doc;
}

void Application::ShowDocument(fImage& doc) {
    if (onDocumentShown) onDocumentShown(doc, IsSet(Setup.ImagesMaximized));
    Activate(doc);
}

void Application::Activate(fImage& doc) {
    active_ = &doc;
}

std::string Application::MakeCaption(const std::string& path) {
    const bool taken = std::any_of(documents_.begin(), documents_.end(),
                                   [&](const auto& d) { return d->Caption == path; });
    ++documentCounter_;
    if (!taken) return path;
    ++duplicateCounter_;
    return path + "[" + std::to_string(duplicateCounter_) + "]";
}

bool Application::CloseDocument(fImage& doc) {
    if (IsSet(Setup.AskToSave) && doc.Changed && doc.UndoPos() >= 2) {
        const std::string text = "This image has changed.\n" +
                                 port_.CompactPath(doc.Caption, kClosingPathPixels) +
                                 "\nDo you want to save it ?";
        const MsgResult answer =
            port_.MsgBox(text, MsgIcon::Question, MsgButtons::YesNoCancel, kAppTitle);
        if (answer == MsgResult::Cancel) return false;
        // "Yes" hands SAVEAS to the document dispatcher, which has no such word: the close
        // goes on without a save, as the program always did.
        if (answer == MsgResult::Yes) Mmenu("SAVEAS");
    }
    UnloadDocument(doc);
    return true;
}

void Application::UnloadDocument(fImage& doc) {
    doc.DeleteUndoFiles();
    if (onDocumentClosed) onDocumentClosed(doc);
    if (active_ == &doc) active_ = nullptr;
    tools_->Forget(doc);
    std::erase_if(documents_, [&](const auto& d) { return d.get() == &doc; });
    if (documents_.empty()) {
        Status.Clear();
        active_ = nullptr;
    } else if (!active_) {
        active_ = documents_.back().get();
    }
}

void Application::Update(bool cancelled, bool saveUndo) {
    port_.Progress(-1);
    if (cancelled || !active_) return;
    active_->View().UpdateImage();
    if (saveUndo) {
        active_->SaveUndoBits();
        active_->Changed = true;
    }
}

bool Application::RunOnActive(const std::function<velmar::Bits(cBitFilter&)>& work,
                              bool filterTakesPicture) {
    fImage* doc = nullptr;
    if (!GetActiveImage(doc) || !doc->PictureExists()) return false;
    port_.PumpEvents();
    const cBitRegion& region = doc->BitsRegion();
    // Without a selection the filter takes the whole picture.
    filter_.BitsRegion(region.Region() ? region.Region() : region.RegionMain());
    try {
        // The filter object works on its own copy: the document keeps showing its picture
        // while the filter runs and is untouched when it fails. Work that only reads the
        // picture (sizes, turns, crops) reads the document's own.
        if (filterTakesPicture)
            filter_.Bits(doc->Bits().clone());
        else
            filter_.Bits(velmar::Bits());
        velmar::Bits result = work(filter_);
        filter_.BitsRegion(nullptr);
        const bool resized =
            result.Width() != doc->PictureWidth() || result.Height() != doc->PictureHeight();
        doc->Bits(std::move(result));
        if (resized) doc->SelectWholePicture();
    } catch (const RuntimeError& e) {
        filter_.BitsRegion(nullptr);
        port_.Progress(-1);
        ShowRunTimeError(port_, e);
        return false;
    } catch (const std::bad_alloc&) {
        filter_.BitsRegion(nullptr);
        port_.Progress(-1);
        port_.MsgBox("Out of memory", MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
        return false;
    }
    Update(false, true);
    return true;
}

// "Zoom -" and "Original Size": the picture itself takes percent of its size (each side at
// least 2, the smallest picture a crop leaves), by the plain resize, which keeps the pixels
// as they are at 100 %.
void Application::ZoomImage(int percent) {
    if (!active_) return;
    const velmar::Bits& picture = active_->Bits();
    RunOnActive(
        [&](cBitFilter& f) {
            const auto side = [percent](int n) {
                return std::max(2, static_cast<int>(std::nearbyint(n * (percent / 100.0))));
            };
            f.BitsResize(picture, side(picture.Width()), side(picture.Height()));
            return f.TakeBits();
        },
        false);
}

void Application::Crop() {
    fImage* doc = nullptr;
    if (!GetActiveImage(doc)) return;
    int left = 0, top = 0, right = 0, bottom = 0;
    if (!doc->BitsRegion().BoundRect(left, top, right, bottom)) {
        port_.MsgBox("Nothing selected", MsgIcon::None, MsgButtons::Ok, "Crop");
        return;
    }
    // The box is cut to the picture first: a selection may reach past its edges.
    left = std::max(left, 0);
    top = std::max(top, 0);
    right = std::min(right, doc->PictureWidth());
    bottom = std::min(bottom, doc->PictureHeight());
    if (right - left < 2 || bottom - top < 2) {
        port_.MsgBox("Minimum size: 2 x 2", MsgIcon::None, MsgButtons::Ok, "Crop");
        return;
    }
    const bool done = RunOnActive([&](cBitFilter& f) {
        f.BitsCrop(f.BitsView(), left, top, right, bottom);
        return f.TakeBits();
    });
    if (done)
        Status.Set(StatusPanels::Size, std::to_string(doc->PictureWidth()) + "x" +
                                           std::to_string(doc->PictureHeight()));
}

} // namespace velmar
