#pragma once

/// Everything that the library offers, apart from the optional `<zivra/format.h>`.
#include <zivra/base_robot.h>
#include <zivra/error.h>
#include <zivra/move_command.h>
#include <zivra/robot.h>
#include <zivra/types.h>
#include <zivra/version.h>
