#pragma once

#include "clr/collections.h"
#include "clr/enums.h"
#include "clr/exceptions.h"
#include "clr/string.h"
#include "clr/values.h"
