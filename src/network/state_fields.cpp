#include "network/state_fields.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace zivra {

namespace {

struct Field {
  std::string_view name;
  StateTag tag;
};

enum class Robots { all, moreThanFiveAxes };
// One real an axis.
constexpr auto perAxis = static_cast<StateTag>(255);

struct Entry {
  std::string_view name;
  StateTag tag;
  Robots robots = Robots::all;
};

constexpr Entry catalogue[] = {
    {"ts", StateTag::count},
    {"errors", StateTag::flags20},
    {"q_m", perAxis},
    {"q_c", perAxis},
    {"dq_m", perAxis},
    {"dq_c", perAxis},
    {"ddq_c", perAxis},
    {"ddq_m", perAxis, Robots::moreThanFiveAxes},
    {"pos_m", StateTag::reals16},
    {"pos_c", StateTag::reals16},
    {"pos_abc_m", StateTag::reals6},
    {"pos_vel_c", StateTag::reals6},
    {"pos_acc_c", StateTag::reals6},
    {"pos_vel_m", StateTag::reals6, Robots::moreThanFiveAxes},
    {"pos_acc_m", StateTag::reals6, Robots::moreThanFiveAxes},
    {"ex_q_m", StateTag::reals6},
    {"ex_dq_m", StateTag::reals6},
    {"ex_motor_m", StateTag::reals6},
    {"psi_m", StateTag::real},
    {"psi_c", StateTag::real},
    {"psi_vel_c", StateTag::real},
    {"psi_acc_c", StateTag::real},
    {"tau_m", perAxis},
    {"tau_c", perAxis},
    {"tau_filtered_m", perAxis},
    {"tau_vel_c", perAxis},
    {"tau_ext_base", StateTag::reals6},
    {"tau_ext_stiff", StateTag::reals6},
    {"theta_m", perAxis},
    {"theta_vel_m", perAxis},
    {"motor_tau", perAxis},
    {"motor_tau_filtered", perAxis},
    {"motion_mode", StateTag::byte},
    {"control_mode", StateTag::byte},
    {"io_keypad", StateTag::flags7, Robots::moreThanFiveAxes},
};

template <unsigned axes>
constexpr std::size_t fieldCount() {
  std::size_t n = 0;
  for (const Entry& entry : catalogue) n += axes > 5 || entry.robots == Robots::all ? 1 : 0;
  return n;
}

template <unsigned axes>
constexpr auto tableOf() {
  constexpr StateTag joints = axes == 5 ? StateTag::reals5 : axes == 6 ? StateTag::reals6 : StateTag::reals7;
  std::array<Field, fieldCount<axes>()> table{};
  std::size_t n = 0;
  for (const Entry& entry : catalogue) {
    if (axes <= 5 && entry.robots != Robots::all) continue;
    table[n++] = {entry.name, entry.tag == perAxis ? joints : entry.tag};
  }
  return table;
}

constexpr auto fiveAxes = tableOf<5>();
constexpr auto sixAxes = tableOf<6>();
constexpr auto sevenAxes = tableOf<7>();
static_assert(fiveAxes.size() == 31 && sixAxes.size() == 35 && sevenAxes.size() == 35);

template <std::size_t n>
std::optional<StateTag> find(const std::array<Field, n>& table, std::string_view name) noexcept {
  const auto found =
      std::find_if(table.begin(), table.end(), [&](const Field& field) { return field.name == name; });
  return found == table.end() ? std::nullopt : std::optional(found->tag);
}

}  // namespace

std::optional<StateTag> stateField(std::string_view name, unsigned short axes) noexcept {
  if (axes == 5) return find(fiveAxes, name);
  return axes == 6 ? find(sixAxes, name) : find(sevenAxes, name);
}

}  // namespace zivra
