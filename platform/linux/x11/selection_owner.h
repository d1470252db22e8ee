// This program's answers as the owner of the clipboard.
//
// The giving half of the protocol between X clients: every kept format as it was, text in all the
// names it goes by, long content in pieces at the requestor's pace. Losing the clipboard to another
// program drops the content, except for transfers under way, which are finished.
//
// Lives on the thread that handles the link's events and passes them all to `handle`.

#pragma once

#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/x11/x11_connection.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class SelectionOwner {
public:
    /// `window` is the link's own and stays as long as this object.
    SelectionOwner(std::shared_ptr<X11Connection> link, xcb_window_t window);

    /// Owns CLIPBOARD from `time` on and offers `content`; whether that worked. Content with
    /// nothing in it leaves CLIPBOARD without an owner.
    bool offer(std::shared_ptr<const ClipboardContent> content, xcb_timestamp_t time);

    /// What is offered at this moment; null while someone else, or nobody, owns CLIPBOARD.
    [[nodiscard]] const std::shared_ptr<const ClipboardContent>& content() const {
        return m_content;
    }

    void handle(const xcb_generic_event_t& event);

    /// Forgets requestors that stopped reading in the middle. True while transfers are under way.
    bool dropStalled();

    /// Asks the clipboard manager, if one runs, to take over what is offered. True when it was
    /// asked; from then on `keeperAnswered` tells when it is done.
    [[nodiscard]] bool askKeeper();
    [[nodiscard]] bool keeperAnswered() const { return m_keeperAnswered; }

private:
    struct Value {
        xcb_atom_t type = XCB_ATOM_NONE;
        std::uint8_t unit = 8;
        std::shared_ptr<const std::string> bytes;
    };
    struct Transfer {
        xcb_window_t requestor = XCB_WINDOW_NONE;
        xcb_atom_t property = XCB_ATOM_NONE;
        Value value;
        std::size_t sent = 0;
        std::chrono::steady_clock::time_point lastMove;
    };

    void answer(const xcb_selection_request_event_t& request);
    [[nodiscard]] bool answerMultiple(const xcb_selection_request_event_t& request,
                                      xcb_atom_t property);
    [[nodiscard]] bool give(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    [[nodiscard]] std::optional<Value> valueOf(xcb_atom_t target);
    [[nodiscard]] std::vector<xcb_atom_t> contentTargets();
    [[nodiscard]] Value atoms(const std::vector<xcb_atom_t>& list) const;
    void put(xcb_window_t requestor, xcb_atom_t property, const Value& value, std::size_t from,
             std::size_t length);
    void sendNext(const xcb_property_notify_event_t& change);
    void forget(xcb_window_t requestor);
    void stopListeningTo(xcb_window_t requestor);
    [[nodiscard]] bool owns();

    std::shared_ptr<X11Connection> m_link;
    xcb_window_t m_window;
    std::size_t m_chunk;
    xcb_timestamp_t m_since = 0;
    std::shared_ptr<const ClipboardContent> m_content;
    std::optional<std::string> m_text; ///< Among m_content.
    std::vector<Transfer> m_transfers;
    bool m_keeperAnswered = false;

    xcb_atom_t m_clipboard;
    xcb_atom_t m_targets;
    xcb_atom_t m_multiple;
    xcb_atom_t m_timestamp;
    xcb_atom_t m_saveTargets;
    xcb_atom_t m_atomPair;
    xcb_atom_t m_incr;
    xcb_atom_t m_null;
    xcb_atom_t m_keeper;
    xcb_atom_t m_utf8String;
    xcb_atom_t m_utf8Plain;
    xcb_atom_t m_plain;
    xcb_atom_t m_textTarget;
};

} // namespace kelvane
