/* The interface type as remote callers see it: C, for the generated code. */
#ifndef PLATFORM_BLL_RPCIFCTYPE_H
#define PLATFORM_BLL_RPCIFCTYPE_H

#include <rpc/rpc.h>

#pragma GCC visibility push(default)

#ifdef __cplusplus
extern "C" {
#endif

typedef int rpcIfcType; /* an Interfaces::interfaceType */

/* Four bytes on the wire. */
bool_t xdr_rpcIfcType(XDR *stream, rpcIfcType *type);

#ifdef __cplusplus
}
#endif

#pragma GCC visibility pop

#endif
