#include "fe/frame.h"

namespace ia {

const char *pppoe_code_name(std::uint8_t code) {
    switch (code) {
        case PADI: return "PADI";
        case PADO: return "PADO";
        case PADR: return "PADR";
        case PADS: return "PADS";
        case PADT: return "PADT";
        default: return "Unknown";
    }
}

const char *pppoeia_tag_name(std::uint16_t type) {
    switch (type) {
        case TAG_END_OF_LIST: return "EOL";
        case 0x0101: return "SRV_NAME";
        case 0x0102: return "AC_NAME";
        case 0x0103: return "HOST_UNIQ";
        case 0x0104: return "AC_COOKIE";
        case TAG_VENDOR_SPECIFIC: return "VENDOR";
        case 0x0110: return "RELAY_SID";
        case 0x0201: return "SRV_ERR";
        case 0x0202: return "SYS_ERR";
        case TAG_GENERIC_ERROR: return "GEN_ERR";
        default: return "Unknown";
    }
}

}  // namespace ia
