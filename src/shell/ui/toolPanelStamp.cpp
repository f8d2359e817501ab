#include "shell/ui/toolPanelStamp.h"

#include "document/tools.h"
#include "formats/gateway.h"
#include "pixel/ui/BitsImage.h"
#include "shell/Application.h"
#include "shell/ui/toolPanelParts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPixmap>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <exception>
#include <string_view>
#include <vector>

namespace velmar {

namespace fs = std::filesystem;

namespace {

constexpr int kPreviewSize = 64;
constexpr int kVisibleStamps = 6;

QString pathText(const fs::path& path) {
    return QString::fromStdString(path.string());
}
fs::path pathOf(const QVariant& data) {
    return fs::path(data.toString().toStdString());
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Names in the order people count: "Velmar2" before "Velmar10". Runs of digits compare as
// numbers, everything else byte by byte.
bool namedBefore(std::string_view a, std::string_view b) {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (!isDigit(a[i]) || !isDigit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
            continue;
        }
        const auto number = [](std::string_view text, std::size_t& at) {
            while (at + 1 < text.size() && text[at] == '0' && isDigit(text[at + 1]))
                ++at;
            const std::size_t start = at;
            while (at < text.size() && isDigit(text[at]))
                ++at;
            return text.substr(start, at - start);
        };
        const std::string_view x = number(a, i);
        const std::string_view y = number(b, j);
        if (x.size() != y.size()) return x.size() < y.size();
        if (x != y) return x < y;
    }
    return a.size() - i < b.size() - j;
}

// The entries of a folder that pass `keep`, by name. A folder that cannot be read lists nothing.
template <class Keep> std::vector<fs::path> entries(const fs::path& folder, Keep keep) {
    std::vector<fs::path> found;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (keep(*it)) found.push_back(it->path());
    std::sort(found.begin(), found.end(), [](const fs::path& a, const fs::path& b) {
        return namedBefore(a.filename().string(), b.filename().string());
    });
    return found;
}

} // namespace

StampPanel::StampPanel(Application& app, QWidget* parent)
    : ToolPanel(app.Setup, parent), app_(app),
      missing_(new QLabel("<Stamps> subfolder not found.", this)), folders_(new QComboBox(this)),
      stamps_(new QListWidget(this)), preview_(new QLabel(this)) {
    SetupRecord& r = app.Setup;
    missing_->setObjectName("lblStampsMissing");
    missing_->setWordWrap(true);
    missing_->hide();
    column()->addWidget(missing_);

    folders_->setObjectName("cbStamps");
    column()->addWidget(folders_);
    connect(folders_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) listStamps(pathOf(folders_->itemData(index)));
    });

    stamps_->setObjectName("flStamps");
    stamps_->setFixedHeight(stamps_->fontMetrics().height() * kVisibleStamps +
                            2 * stamps_->frameWidth());
    column()->addWidget(stamps_);
    connect(stamps_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0) chooseStamp(pathOf(stamps_->item(row)->data(Qt::UserRole)));
    });

    preview_->setObjectName("iStamp");
    preview_->setFixedSize(kPreviewSize + 4, kPreviewSize + 4);
    preview_->setFrameShape(QFrame::StyledPanel);
    preview_->setAlignment(Qt::AlignCenter);
    column()->addWidget(preview_, 0, Qt::AlignHCenter);

    QHBoxLayout* mask = addRow();
    addCheck("chkUseMaskColor", "Mask color :", r.StampUseMaskColor, mask);
    addSwatch("MaskColor", "Stamp mask color", r.StampMaskColor, mask);
    mask->addStretch(1);
    addCheck("chkStampMask", "Stamp mask", r.StampMask);
    addCheck("chkClearBack", "Clear back", r.StampClearBack);
    addSlider("sbStampPressure", "Pressure", r.StampPressure);
    finish();
}

void StampPanel::Init() {
    ToolPanel::Init();
    listFolders();
}

void StampPanel::listFolders() {
    // The built-in stamps lie in "Stamps" itself; each subfolder is a set the user added.
    const fs::path root = app_.AppFolder() / "Stamps";
    std::error_code ec;
    const bool present = fs::is_directory(root, ec);
    missing_->setVisible(!present);
    folders_->setVisible(present);
    stamps_->setVisible(present);
    const QString previous = folders_->currentData().toString();
    {
        const QSignalBlocker block(folders_);
        folders_->clear();
        if (present) {
            folders_->addItem("Stamps", pathText(root));
            for (const fs::path& sub : entries(root, [](const fs::directory_entry& e) {
                     std::error_code isDirError;
                     return e.is_directory(isDirError);
                 }))
                folders_->addItem(pathText(sub.filename()), pathText(sub));
            folders_->setCurrentIndex(std::max(0, folders_->findData(previous)));
        }
    }
    if (present)
        listStamps(pathOf(folders_->currentData()));
    else
        stamps_->clear();
}

void StampPanel::listStamps(const fs::path& folder) {
    const std::vector<fs::path> files = entries(folder, [](const fs::directory_entry& e) {
        std::error_code isFileError;
        return e.is_regular_file(isFileError) && LowerCase(ExtensionOf(e.path())) == "bmp";
    });
    const QSignalBlocker block(stamps_);
    stamps_->clear();
    for (const fs::path& file : files) {
        auto* item = new QListWidgetItem(pathText(file.filename()), stamps_);
        item->setData(Qt::UserRole, pathText(file));
        if (file == chosen_) stamps_->setCurrentItem(item);
    }
    // A stamp tool without a stamp paints nothing and says nothing, so the first stamp of the
    // folder is taken until the user chooses one.
    if (chosen_.empty() && !app_.Tools().GetStampBits() && !files.empty()) {
        stamps_->setCurrentRow(0);
        chooseStamp(files.front());
    }
}

void StampPanel::chooseStamp(const fs::path& file) {
    chosen_ = file;
    QPixmap picture;
    try {
        if (std::optional<Bits> bits = LoadPictureFile(file, LoadSite::Document))
            picture = QPixmap::fromImage(bitsAsImage(*bits));
    } catch (const std::exception&) {
        // An unreadable stamp shows an empty preview; the tools keep their last stamp.
    }
    if (picture.width() > kPreviewSize || picture.height() > kPreviewSize)
        picture = picture.scaled(kPreviewSize, kPreviewSize, Qt::KeepAspectRatio,
                                 Qt::SmoothTransformation);
    preview_->setPixmap(picture);
    app_.Tools().SetStampFile(file.string());
}

} // namespace velmar
