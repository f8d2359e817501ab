// The menus and bars reach the dispatchers: every key word of an entry or a button is one a
// dispatcher or a filter table takes, and the captions users know stand as they are.
#include "shell/menuTable.h"

#include "filters/documentGeometry.h"
#include "filters/filterCommands.h"
#include "shell/dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace velmar {
namespace {

bool dispatched(std::string_view key) {
    const auto words = KeyWords();
    return std::any_of(words.begin(), words.end(),
                       [&](const KeyWord& w) { return w.key == key; }) ||
           FindDirectCommand(key) || FindDialogWord(key) || FindGeometryWord(key);
}

void collect(std::span<const MenuEntry> entries, std::vector<const MenuEntry*>& out) {
    for (const MenuEntry& e : entries) {
        out.push_back(&e);
        collect(e.children, out);
    }
}

TEST(MenuTable, EveryKeyReachesADispatcherOnce) {
    std::vector<const MenuEntry*> entries;
    for (const MenuDef& menu : MainMenus())
        collect(menu.entries, entries);
    std::set<std::string> seen;
    for (const MenuEntry* e : entries) {
        if (e->action == MenuAction::Submenu) {
            EXPECT_FALSE(e->children.empty()) << e->caption;
        }
        if (e->key.empty()) continue;
        // "Restore Original" sends a word no dispatcher has: the entry does nothing.
        if (e->key != "RESTOREORIGINAL") {
            EXPECT_TRUE(dispatched(e->key)) << e->key;
        }
        EXPECT_TRUE(seen.insert(std::string(e->key)).second) << "twice: " << e->key;
    }
    for (const ToolBarDef& bar : ToolBars())
        for (const std::string_view key : bar.keys)
            // The help bar's two buttons are the frame's own.
            EXPECT_TRUE(dispatched(key) || key == "HELP") << bar.name << ": " << key;
}

TEST(MenuTable, CaptionsAndBarsAsUsersKnowThem) {
    const std::vector<std::string_view> titles = {"File",    "Edit",   "Adjust", "Filters",
                                                  "Effects", "Colors", "Tools",  "Utilities",
                                                  "Views",   "About"};
    ASSERT_EQ(MainMenus().size(), titles.size());
    for (std::size_t i = 0; i < titles.size(); ++i)
        EXPECT_EQ(MainMenus()[i].title, titles[i]);
    EXPECT_EQ(CaptionOfKey("GIF"), "Animated GIF ...");
    EXPECT_EQ(CaptionOfKey("CREATENEWCOPY"), "Create New Copy");
    EXPECT_EQ(CaptionOfKey("COPYIMAGETOCLIPBOARD"), "Copy Image to Clipboard");
    EXPECT_EQ(CaptionOfKey("IMAGEROTATE"), "Rotation ...");
    EXPECT_EQ(CaptionOfKey("x3"), "x/3");
    EXPECT_EQ(CaptionOfKey("NOSUCHWORD"), "NOSUCHWORD");

    const std::vector<std::string_view> bars = {"Standard Bar",  "Effects Bar", "Image  Bar",
                                                "Utilities Bar", "Help Bar",    "Tools Bar",
                                                "Filters Bar"};
    ASSERT_EQ(ToolBars().size(), bars.size());
    for (std::size_t i = 0; i < bars.size(); ++i)
        EXPECT_EQ(ToolBars()[i].name, bars[i]);

    // The Views menu toggles the seven bars by their record index, and has the auto-hide entry.
    std::vector<const MenuEntry*> views;
    collect(MainMenus()[8].entries, views);
    std::set<int> barIndices;
    bool autoHide = false;
    for (const MenuEntry* e : views) {
        if (e->action == MenuAction::ToggleBar) {
            barIndices.insert(e->index);
            EXPECT_EQ(e->caption, bars[static_cast<std::size_t>(e->index)]);
        }
        autoHide |= e->action == MenuAction::ToggleSideAutoHide &&
                    e->caption == "Side Tools  Bar : Hide n Seek";
    }
    EXPECT_EQ(barIndices.size(), 7u);
    EXPECT_TRUE(autoHide);
}

} // namespace
} // namespace velmar
