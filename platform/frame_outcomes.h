// What becomes of a port's Discovery frames, as it is counted beside the agent's
// own counters: by the node's filter and by the engine. Read by C and by C++.
//
// An outcome is one row: its name, the word for programs, the words for people.
// New rows go to the end, so that processes of two releases mean the same by a
// number. Whoever counts adds one to `outcomes[OUTCOME_...]` of the input port.
#pragma once

#include <linux/types.h>

// clang-format off
#define FRAME_OUTCOMES(ROW) \
    /* of the filter: */ \
    ROW(HANDED, "handed", "handed to the engine") \
    ROW(SENT, "sent", "sent from the engine to one port") \
    ROW(SPREAD, "spread", "sent from the engine to several ports") \
    /* dropped there, in front of the engine: */ \
    ROW(NO_PORT, "held-port", "dropped: the device is no port, or the port is held") \
    ROW(HELD, "held-bridge", "dropped: the bridge is held, or has no engine") \
    ROW(TOO_DEEP, "too-deep", "dropped: more VLAN tags than the engine reads") \
    ROW(FOREIGN_TAG, "foreign-tag", "dropped: a VLAN tag that the engine does not read") \
    ROW(TOO_LONG, "too-long", "dropped: longer than the bridge's frames") \
    ROW(AT_HOME, "at-home", "dropped: meant for the network port that it came from") \
    ROW(NO_ROOM, "no-room", "dropped: the kernel had no memory") \
    /* dropped there, behind the engine: */ \
    ROW(BAD_RECORD, "bad-record", "dropped: unusable as the engine left it") \
    ROW(STALE, "stale", "dropped: came before a hold or a change of its port") \
    ROW(NO_OUTPUT, "no-output", "dropped: its output device is no port any more") \
    ROW(UNMARKED, "unmarked", "dropped at the port's exit: had not been to the engine") \
    /* dropped by the engine: */ \
    ROW(NOT_DISCOVERY, "not-discovery", "dropped: no Discovery frame behind its VLAN tags") \
    ROW(TRUNCATED, "truncated", "dropped: its payload runs past its end") \
    ROW(WRONG_ROLE, "wrong-role", "dropped: the port's role does not send this") \
    ROW(UNTRUSTED_TAG, "untrusted-tag", "dropped: a line tag from an untrusted port") \
    ROW(TAG_TRUNCATED, "tag-truncated", "dropped: its line tag runs past its end") \
    ROW(NO_LOCAL_MAC, "no-local-mac", "dropped: too long with its IDs, and no management device to answer from") \
    /* of the filter, in front of the engine: */ \
    ROW(LIMITED, "limited", "dropped: above the rate of its line or port") \
    ROW(SILENT, "silent", "dropped: its line was above its rate") \
    ROW(CROWDED, "crowded", "dropped: of a busy line, while more came than the engine takes") \
    ROW(NOT_ITS_OWN, "not-its-own", "dropped: its address lives on another line, or is a server's") \
    /* of the filter; only counted where the bridge's checks watch: */ \
    ROW(MEANS_MORE, "means-more", "refused: something stands behind its tags") \
    ROW(NOT_ASKED, "not-asked", "refused: an answer that nobody asked for") \
    ROW(NOT_A_SERVER, "not-a-server", "refused: an answer of a server that is not allowed") \
    ROW(NO_SESSION, "no-session", "refused: the end of a session that is not there")
// clang-format on

enum frame_outcome {
#define ROW(name, word, meaning) OUTCOME_##name,
    FRAME_OUTCOMES(ROW)
#undef ROW
        OUTCOME_COUNT
};

// The codes of the frames that leave by a port.
enum sent_code { SENT_PADI, SENT_PADO, SENT_PADR, SENT_PADS, SENT_PADT, SENT_OTHER, SENT_CODES };

struct frame_counts {
    __u64 outcomes[OUTCOME_COUNT];  // of what came in
    __u64 sent[SENT_CODES];         // of what went out
};
