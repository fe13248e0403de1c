#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#if defined(_WIN32)
#define ZIVRA_SIM_API
#else
#define ZIVRA_SIM_API __attribute__((visibility("default")))
#endif

namespace zivra::sim {

/// The arms that the simulated controller can be.
enum class Model {
  triax,       ///< 3 axes, industrial
  quadrax,     ///< 4 axes, industrial
  standard,    ///< 6 axes, industrial
  tandiFive,   ///< 5 axes, collaborative
  tandi,       ///< 6 axes, collaborative
  tandiSeven,  ///< 7 axes, collaborative
};

/// The model's name on the command line of `zivra-sim`, e.g. "tandi-five", and back; nothing for another
/// name.
ZIVRA_SIM_API std::string_view modelName(Model model);
ZIVRA_SIM_API std::optional<Model> modelNamed(std::string_view name);

/// Languages of the controller's user log.
enum class Language { english, chinese };
/// How grave an entry of the user log is.
enum class LogLevel { info, warning, error };

/// Which controller, and where it listens.
struct Options {
  std::string address = "127.0.0.1";  ///< loopback address that the links listen on
  std::uint16_t port = 6666;          ///< command link
  std::uint16_t rtPort = 1337;        ///< second command link
  std::uint16_t filePort = 7777;      ///< file link; 0: there is none
  std::uint16_t upgradePort = 4567;   ///< upgrade and backup service; 0: there is none
  Model model = Model::tandi;         ///< which arm
  double speedFactor = 1.0;           ///< simulated seconds for each second of the wall clock
  std::string id{};                   ///< robot id; empty: one made from the model
  std::string version = "3.1.2";      ///< controller version reported
  /// Told of each frame ("< ..." in, "> ..." out) on the simulator's network thread; must not stop the
  /// controller.
  std::function<void(const std::string&)> trace{};
  Language language = Language::english;  ///< of the user log
};

/// What happens to a request of the chosen key (`"*"`: every key) instead of, or before, its answer.
struct Fault {
  /// What happens.
  enum class Kind {
    refuse,   ///< answers `code` and leaves the world alone
    delay,    ///< answers after `delay`
    mute,     ///< does the work and never answers
    drop,     ///< closes the link instead of answering (after half of the answer if `half`)
    garbage,  ///< answers `text` as it stands (with a CR) instead of JSON
    reply,    ///< answers with the JSON value `text` under the key, whatever the handler would say
  };
  Kind kind = Kind::refuse;            ///< what happens
  std::string key = "*";               ///< of the requests that it hits
  int code = -1;                       ///< for `refuse`
  std::chrono::milliseconds delay{0};  ///< for `delay`, by the wall clock
  bool half = false;                   ///< for `drop`
  std::string text{};                  ///< for `garbage` and `reply`
  int times = 1;                       ///< how many requests it hits; -1: until clearFaults
};

/// What happens to the next file that comes on the file link.
struct FileFault {
  /// What happens.
  enum class Kind {
    refuse,  ///< acknowledged as bad, and not kept
    mute,    ///< kept and never acknowledged
    text,    ///< kept; `text` goes out as a frame in front of the acknowledgement
    delay,   ///< kept and acknowledged after `delay`
    drop,    ///< closes the link in the middle of the file
  };
  Kind kind = Kind::refuse;            ///< what happens
  std::string text{};                  ///< for `text`
  std::chrono::milliseconds delay{0};  ///< for `delay`, by the wall clock
  int times = 1;                       ///< how many files it hits; -1: until clearFaults
};

/// What the upgrade and backup service does with the next request that it fits.
struct UpgradeFault {
  /// What happens.
  enum class Kind {
    hangUp,        ///< closes a connection just after accepting it
    mute,          ///< does the work and never answers
    die,           ///< closes the connection after `bytes` bytes of its answers
    drip,          ///< sends its answers `bytes` bytes at a time, one piece every `delay`
    chunks,        ///< cuts its answers' packets into chunks of `bytes` bytes
    damaged,       ///< finds the package damaged
    refuse,        ///< doesn't take the package
    verdictFirst,  ///< tells the verdict on the package before it says that it has arrived
    noBackup,      ///< can't make the backup
    partial,       ///< can't back up one of the items
    broken,        ///< sends a backup that doesn't have the digest that it comes with
  };
  Kind kind = Kind::hangUp;            ///< what happens
  std::size_t bytes = 1;               ///< for `die`, `drip` and `chunks`
  std::chrono::milliseconds delay{0};  ///< for `drip`, by the wall clock
  int times = 1;                       ///< how many connections or requests it hits; -1: until clearFaults
};
/// The fault's name on the command line of `zivra-sim`, e.g. "verdict-first"; nothing for another name.
ZIVRA_SIM_API std::optional<UpgradeFault::Kind> upgradeFaultNamed(std::string_view name);

/// A whole simulated controller in the caller's process: it listens, answers, moves and notifies until it is
/// stopped. Every operation may be called from any thread.
class ZIVRA_SIM_API Controller {
 public:
  explicit Controller(Options options = {});  ///< listens once it is started
  ~Controller();
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  /// Listens and begins to simulate. Throws std::runtime_error with the address and the system's text if a
  /// port is taken.
  void start();
  /// Closes every link and ends all threads. May be started again.
  void stop();

  const Options& options() const;  ///< as it was made with

  // Faults of the link
  void inject(const Fault& fault);      ///< from the next request on that it fits
  void clearFaults();                   ///< those of the state stream too
  void dropLinks();                     ///< closes every client link with a reset; goes on listening
  void stopListening();                 ///< refuses new links until listenAgain
  void listenAgain();                   ///< takes new links again
  void stopReading(bool on);            ///< leaves what clients send unread
  void sliceFrames(std::size_t bytes);  ///< sends answers in pieces of that many bytes; 0: whole
  void coalesceFrames(
      std::chrono::milliseconds window);   ///< holds answers back and sends them joined; 0: at once
  void sendRaw(const std::string& bytes);  ///< to every client link, as they stand
  /// Sends `{"n":{key:payload},"ts":...}` to the links that watch the key; payload is JSON text.
  void push(const std::string& key, const std::string& payload);

  // Faults and happenings of the robot
  void pressEmergencyStop();       ///< motion stops and power goes off, as "estop"
  void releaseEmergencyStop();     ///< power stays off until "rsc.emer_stop.reset"
  void openSafetyGate(bool open);  ///< opened: motion stops and power goes off, as "gstop"
  void raiseServoAlarm();          ///< power goes off and stays off until the alarm is cleared
  void collide();                  ///< a collision: motion stops, the safety event is pushed
  void failNextMove(int code);     ///< the next move that begins ends with this controller code
  void reboot();  ///< as "utils.reboot": links drop, the controller is away for a moment and comes back

  // The panel at the tool
  void setPanelType(int type);                ///< 2, 3, 4, or another for one that carries little
  void pressPanelKey(int key, bool pressed);  ///< key 1 to 7
  /// Input registers (function 4) of the Modbus slave with address 1, which answers while the panel supplies
  /// 24 V and its port is a serial one; address 0 to 255.
  void setModbusInput(int address, std::uint16_t value);

  // Guiding by hand, and what protects
  bool guidedByHand() const;  ///< whether the arm lets itself be guided now
  /// A hand leads the arm through the axis angles [rad] of each point, from rest to rest, in `seconds` of
  /// simulated time altogether. Of the hand's wish the arm does what it is free to do. Nothing happens unless
  /// guiding is on. Throws std::invalid_argument for points of another number of axes or no time.
  void guideByHand(const std::vector<std::vector<double>>& points, double seconds);
  /// Something presses against the flange, against its motion (downwards if it rests). Whether collision
  /// detection, which has to be on, noticed it; it then does what it was told to do. `collide` in contrast is
  /// what the drives notice by themselves.
  bool touch(double newtons);
  /// The torque sensor of an axis (from 0) shows that much too much, until it is calibrated.
  void setTorqueDrift(std::size_t axis, double newtonMetres);

  // Signals and registers. Board 0 leads to terminals; outputs of board 1 are wired to its inputs.
  /// What stands at an input's terminal, which simulation mode may hide. Throws std::invalid_argument if
  /// there is no such terminal.
  void setDigitalInput(unsigned board, unsigned port, bool state);
  /// The same for an analog input.
  void setAnalogInput(unsigned board, unsigned port, double level);
  /// False for an output that isn't there.
  bool digitalOutput(unsigned board, unsigned port) const;
  /// Makes or replaces a register; value is JSON text: a number (real with a point), a bool, or an array of
  /// one of them. Throws std::invalid_argument for another value.
  void setRegister(const std::string& name, const std::string& value);

  // Clock, user log and EtherCAT bus
  void setClockAhead(std::chrono::milliseconds by);  ///< of this machine's, until it is synchronised
  /// Another entry, as if the controller had written it.
  void writeUserLog(LogLevel level, int code, const std::string& text, const std::string& repair = {});
  void unplugSlave(int address);  ///< 1 and 2 are drives, 3 is a digital terminal
  void plugSlave(int address);    ///< it comes back in the state "init"

  // Faults of the state stream. They outlast its end and a reboot, not clearFaults.
  /// Sets or clears a flag of "errors", 0 to 19, in every datagram; std::invalid_argument for another one.
  void setStateError(unsigned flag, bool on);
  void dropDatagrams(int times);  ///< the next ones are lost on their way; -1: all, 0: none
  /// Of the next datagrams (-1: all) only the first bytes arrive; datagrams of no bytes are none.
  void cutDatagrams(std::size_t bytes, int times);
  void endStateStream();                ///< ends without a word; a client may start it anew
  std::uint64_t datagramsSent() const;  ///< since start

  // Files, packages and backups
  void inject(const FileFault& fault);        ///< from the next file on
  void inject(const UpgradeFault& fault);     ///< from the next connection or request on that it fits
  std::vector<std::string> upgrades() const;  ///< digests (MD5) of the packages taken, oldest first

  // Program projects
  /// Puts a project there, in place of one of that name: paths as in a project's zip file and their contents,
  /// {{"project.xml", "..."}, {"task0/main.mod", "..."}}. Throws std::invalid_argument for what is no
  /// project.
  void putProject(const std::string& name, const std::map<std::string, std::string>& files);
  /// The same of a project that is there; empty: there is none of that name.
  std::map<std::string, std::string> projectFiles(const std::string& name) const;

  // What the tool meets, in the world
  /// A flat surface through `point` [m] whose `normal` points out of it, with a `stiffness` [N/m]; throws
  /// std::invalid_argument for numbers that make none.
  void placeSurface(const std::array<double, 3>& point, const std::array<double, 3>& normal,
                    double stiffness = 10000);
  void removeSurface();  ///< there is none any more
  /// From now on somebody pushes the tool: force [N] and torque [Nm] at its tip; zeros: no longer.
  void pushTool(const std::array<double, 6>& wrench);

  // What is going on
  std::vector<double> jointPositions() const;  ///< [rad]
  std::string powerState() const;              ///< as reported under "sys.power"
  std::string operationState() const;          ///< as reported under "sys.state"
  std::string operateMode() const;             ///< as reported under "sys.mode"
  std::size_t clients() const;                 ///< command links that are connected
  std::vector<std::string> requests() const;   ///< keys of the latest requests, oldest first, at most 10000
  void setJointPositions(const std::vector<double>& joints);  ///< puts the arm there at once (rad)
  /// Waits until no move is queued or running; false after the limit of wall clock time.
  bool waitUntilIdle(std::chrono::milliseconds limit) const;

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

/// Every request key that the simulated controller answers, with its form letter in front, e.g. "c
/// sys.power.on".
ZIVRA_SIM_API std::vector<std::string> handledKeys();

}  // namespace zivra::sim
