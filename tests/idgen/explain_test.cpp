// What an operator is told of a format, and that it is what the engine does.
#include "idgen/explain.h"

#include "diag/test_data.h"
#include "idgen/resolver.h"
#include "tests/idgen/custom_id_rows.h"
#include "tests/idgen/scenario.h"

using namespace ia::test;
using ia::FormatReport;

namespace {

class Explain : public IdTest {
protected:
    Explain() {
        fill(bridge_);
        receive_frame(bridge_, 100, 5);
    }

    // With the values of a line, as the engine's resolver gives them.
    FormatReport explain(const std::string &format, std::uint32_t port = GEM,
                         std::uint16_t vid = 100, idGenType gen = ID_GEN_FRAME) {
        return ia::explain_format(format, [&](customIdFormat macro) {
            std::string value;
            EXPECT_TRUE(getMacroStringValue(&bridge_, macro, value, port, gen, vid, 5));
            return value;
        });
    }

    pppoeia_bridge bridge_{"br0", 13};
};

// "carries-over 7+3 ..." for each note.
std::string noted(const FormatReport &report) {
    std::string all;
    for (const ia::FormatNote &note : report.notes)
        all += (all.empty() ? "" : ", ") + std::string(ia::warning_name(note.warning)) + ' ' +
               std::to_string(note.at) + '+' + std::to_string(note.length);
    return all;
}

TEST_F(Explain, PredictsEveryId) {
    for (const id_row &row : custom_id_rows()) {
        SCOPED_TRACE(row.name);
        const FormatReport report = explain(row.format, row.port, row.vid, row.gen);
        ASSERT_TRUE(report.complete);
        EXPECT_EQ(report.text, row.text);
        EXPECT_EQ(hex_dump(report.binary), row.bytes);
        std::string covered;
        for (const ia::FormatPiece &piece : report.pieces)
            covered += row.format.substr(piece.at, piece.length);
        EXPECT_EQ(covered, row.format) << "the pieces are the format";
    }
}

struct warning_row {
    const char *name;
    std::string format;
    const char *notes;
    std::uint32_t port = GEM;
    std::uint16_t vid = 100;
};

const std::string X60(60, 'x');

const warning_row warning_rows[] = {
    {"nothing to say", "$SHELF/$z4PORT.$VLAN $d-CLNT_MAC", ""},
    {"letters that are no options", "$x PORT $VLAN", "stops-expansion 0+7"},
    {"a count is missing", "$ONU/$sPORT", "stops-expansion 5+6"},
    {"a name at the beginning", "PORT-$VLAN", "name-in-text 0+4"},
    {"a name behind a macro", "$VLAN PORT $PORT", "name-in-text 6+4"},
    {"hexadecimal of a text", "$hINTF $PORT", "stays-literal 0+6"},
    {"a count of 100", "a $100PORT", "stays-literal 2+8"},
    {"a delimiter for a number", "$d-PORT", "stays-literal 0+7"},
    {"an earlier delimiter", "$d-CLNT_MAC $dAGENT_IPV4", "carries-over 12+12"},
    {"an earlier count", "$2VLAN $zPORT", "carries-over 7+6"},
    {"an earlier count that does not matter", "$4PORT $zAGENT_IPV4", ""},
    {"its own after an earlier one", "$d-CLNT_MAC $d.CPE_MAC", ""},
    {"a macro always empty", "a$BOARD", "empty 1+6"},
    {"a macro empty on this line", "$VPI.$VCI", "empty 0+4, empty 5+4"},
    {"no VLAN", "$VLAN", "empty 0+5", GEM, 0x0FFF},
    {"a macro that never resolves", "$TCONT", "never-resolves 0+6"},
    {"a name that is misspelt", "$SYSNAM:$VLAN $z4PRT", "never-resolves 0+7, never-resolves 14+6"},
    {"HEX without digits", "a $HEX", "never-resolves 2+4"},
    {"hexadecimal", "line $hVLAN $hPORT", "binary 5+6"},
    {"bytes of the format itself", "$0102HEX", "binary 0+8"},
    {"64 characters", X60 + "$VLAN!", "cut 65+1"},
    {"64 characters within a macro", X60 + "x$VLAN", "cut 61+5"},
    {"63 bytes", X60 + "$hVLAN!!", "binary 60+6"},
    {"64 bytes", X60 + "$hVLAN!!!", "binary 60+6, cut 66+3"},
};

TEST_F(Explain, WarnsAsTabled) {
    for (const warning_row &row : warning_rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(noted(explain(row.format, row.port, row.vid)), row.notes);
    }
}

TEST_F(Explain, SaysWhatItCanWithoutValues) {
    const auto unknown = [](customIdFormat) { return std::optional<std::string>(); };
    const FormatReport report = ia::explain_format("a$z4PORT$hhVLAN", unknown);
    EXPECT_FALSE(report.complete);
    EXPECT_EQ(noted(report), "stops-expansion 8+7");
    ASSERT_EQ(report.pieces.size(), 3U);
    EXPECT_EQ(report.pieces[1].options, "filled with zeroes on the left, to 4 characters");
    EXPECT_FALSE(report.pieces[1].value);
}

}  // namespace
