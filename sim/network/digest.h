// MD5, by which files are checked on both sides of a link.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace zivra::sim {

std::array<unsigned char, 16> md5(std::string_view bytes);
std::string hexText(const std::array<unsigned char, 16>& digest);  // lower case

}  // namespace zivra::sim
