#pragma once
// The main frame's menus and tool bars as data. Every entry that runs a command carries its key
// word, so menus, tool bars and scripts run the same code; the frame builds its widgets from
// these tables and tests check that every key reaches a dispatcher.
#include <span>
#include <string_view>

namespace velmar {

// What an entry does beyond sending its key word.
enum class MenuAction {
    Key,          // sends `key` to the dispatcher
    Submenu,      // opens `children`
    Separator,    //
    Recent,       // the Recent list (filled by FillRecent)
    Exit,         // closes the frame
    About,        // the about box
    DeadHelp,     // "Not Available! Check it out for new Version"
    DeadSoon,     // "Will Come soon!"
    ToggleBox,    // a tool box by its Views index (4 the colour box)
    ToggleStatus, // the status bar
    ToggleSideAutoHide,
    ToggleBar, // a tool bar by its index 0..6
};

struct MenuEntry {
    std::string_view caption;
    std::string_view key;
    MenuAction action = MenuAction::Key;
    int index = 0;
    std::span<const MenuEntry> children = {};
};

struct MenuDef {
    std::string_view title;
    std::span<const MenuEntry> entries;
};

// The menu bar, left to right: File, Edit, Adjust, Filters, Effects, Colors, Tools, Utilities,
// Views, About.
std::span<const MenuDef> MainMenus();

// The seven tool bars in the record's order of their visibility flags.
struct ToolBarDef {
    std::string_view name;
    std::span<const std::string_view> keys;
};
std::span<const ToolBarDef> ToolBars();

// The caption of a key word as the menus show it (without the access-key ampersand); the key
// itself when no menu has it.
std::string_view CaptionOfKey(std::string_view key);

} // namespace velmar
