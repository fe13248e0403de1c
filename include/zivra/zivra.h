#pragma once

/// Everything that the library offers, apart from the optional `<zivra/format.h>`.
#include <zivra/base_robot.h>
#include <zivra/error.h>
#include <zivra/ethercat.h>
#include <zivra/force_control.h>
#include <zivra/local_address.h>
#include <zivra/model.h>
#include <zivra/move_command.h>
#include <zivra/panel.h>
#include <zivra/robot.h>
#include <zivra/service_types.h>
#include <zivra/types.h>
#include <zivra/upgrade.h>
#include <zivra/version.h>
