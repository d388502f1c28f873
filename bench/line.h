// The measured subscriber line: port 1 of a bridge, "1/1/1" on board 3, shelf "s1",
// VLAN 100 "internet", customer VLAN 5, client 02:00:00:00:00:01. Port 2 faces the
// network.
#pragma once

#include "tests/support/datagrams.h"

namespace ia::bench {

using test::Bytes;

// Adds the ports and the data to a bridge of the list.
void set_up_line(const char *bridge);

// The custom formats of the line: a Circuit ID and a Remote ID of six macros each,
// all with a value, and the resulting tag.
inline constexpr char text_circuit_id[] = "$SHELF/$CHASSIS/$AGENT_BOARD/$PORT:$VLAN $CLNT_MAC";
inline constexpr char text_remote_id[] =
    "$INTF_TYPE $INTF $INTF_DSCR $PORT_REM_ID $VLAN_NAME $SYSNAME";
inline constexpr char text_circuit_id_made[] = "s1/7/3/1:100 02:00:00:00:00:01";
inline constexpr char text_remote_id_made[] = "eth 1/1/1 line-17 home-4711 internet node-9";

void use_formats(const char *bridge, const char *circuit_id, const char *remote_id);
Bytes text_tag();

Bytes padi_datagram();

// A server's PADO with the line's own tag, which the engine removes.
Bytes pado_datagram();

// The frame as it leaves, without the record: `tag` is the Vendor-Specific tag.
Bytes marked_padi(const Bytes &tag);
Bytes cleaned_pado();

// The line's tag in the default forms: 39 bytes.
Bytes default_tag();

// Any tag of a Circuit ID and a Remote ID.
Bytes vendor_tag(const Bytes &circuit_id, const Bytes &remote_id);

}  // namespace ia::bench
