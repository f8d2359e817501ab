#pragma once
// Small pieces every window of the editor builds with: the core's texts as Qt strings, and edit
// fields named as the program names its controls, so that tests and scripts find them.
#include <QLineEdit>
#include <QString>

#include <string_view>

namespace velmar {

inline QString QtText(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

inline QLineEdit* NamedLineEdit(QWidget* owner, const char* name) {
    auto* edit = new QLineEdit(owner);
    edit->setObjectName(name);
    return edit;
}

} // namespace velmar
