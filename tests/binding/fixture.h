// Facades with a controller of their own.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "clr/clr.h"

namespace zivra::test {

using clr::Array;
using clr::Array2;
using clr::ErrorCode;
using clr::Fault;
using clr::List;
using clr::String;

// The managed exception that a call ends with.
template <class F>
clr::Fault faultOf(const F& call) {
  try {
    call();
  } catch (const clr::ManagedException& e) {
    return e.fault();
  }
  return clr::Fault::none;
}

// Its text; empty if there is none.
template <class Exception, class F>
std::string textOf(const F& call) {
  try {
    call();
  } catch (const Exception& e) {
    return e.what();
  }
  return {};
}

}  // namespace zivra::test
