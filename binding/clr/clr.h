#pragma once

/// Everything of the layer.
#include "clr/base_robot.h"
#include "clr/cobot.h"
#include "clr/ethercat.h"
#include "clr/force_control.h"
#include "clr/robots.h"
#include "clr/types.h"
#include "clr/upgrade.h"
