#pragma once
#include "HostCtl/IpAddress.h"
