// The place of the panel on screen, where a window cannot say itself where it goes.

#pragma once

namespace kelvane {

class PanelPlace {
public:
    virtual ~PanelPlace() = default;

    /// Has the panel that was just shown put where panels stand. Waits for its window for up to
    /// half a second and returns whether it is there. Any thread but the one that shows windows.
    virtual bool settle() = 0;
};

/// Where windows go where they say, or nobody can help.
class NoPanelPlace : public PanelPlace {
public:
    bool settle() override { return false; }
};

} // namespace kelvane
