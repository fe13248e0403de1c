#pragma once

namespace zivra {

/// Common tag of the library's main classes.
template <class T>
struct Base {};

}  // namespace zivra
