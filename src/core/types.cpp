#include <algorithm>
#include <initializer_list>

#include <zivra/error.h>
#include <zivra/types.h>

#include "core/library_message.h"

namespace zivra {

CartesianPosition::CartesianPosition(std::initializer_list<double> values) {
  const double* from = values.begin();
  if (values.size() == trans.size() + rpy.size()) {
    std::copy_n(from, trans.size(), trans.begin());
    std::copy_n(from + trans.size(), rpy.size(), rpy.begin());
  } else if (values.size() == pos.size()) {
    std::copy_n(from, pos.size(), pos.begin());
  } else {
    throw ArgumentException(internal::libraryMessage(internal::Message::elementCount));
  }
}

}  // namespace zivra
