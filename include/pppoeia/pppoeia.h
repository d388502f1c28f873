// The whole interface of the PPPoE Intermediate Agent library.
#pragma once

#include "pppoeia/client.h"
#include "pppoeia/fe.h"
#include "pppoeia/records.h"
#include "pppoeia/store.h"
