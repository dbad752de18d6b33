#pragma once
// How mail clients lay out their message list and folder tree in the
// accessibility tree: plain data, one row per client. AtspiMailSelection
// reads a window through the first row whose message rows it finds there.
//
// Thunderbird (checked with 153 ESR, card and table view of the list):
//   a selected message   a SELECTED list item or table row whose "id"
//                        attribute begins "threadTree-row"
//   its sender, subject  descendants whose "class" attribute holds "sender"
//                        and "subject" (card view), "correspondentcol-column"
//                        or "sendercol-column" and "subject-line" (table
//                        view); the text they show
//   the listed folder    the SELECTED tree item whose "id" is the folder
//                        pane's mode, "-", and the folder's address in
//                        base64 ("all-bWFpbGJveDovL25vYm9keUBMb2NhbCUy...")
//
// Header-only data; any thread.

#include <array>

struct MailListShape final {
    const char* client;             // for the reader and the log
    const char* messageRowIdPrefix;
    // Folder tree items carry "MODE-" and the address in base64 as their id.
    bool folderIdIsModeAndBase64Address;
    std::array<const char*, 3> senderClasses;   // unused entries are null
    std::array<const char*, 3> subjectClasses;  // unused entries are null
};

inline constexpr std::array<MailListShape, 1> kMailListShapes{{
    {"Thunderbird", "threadTree-row", true,
     {"sender", "correspondentcol-column", "sendercol-column"},
     {"subject", "subject-line", nullptr}},
}};
