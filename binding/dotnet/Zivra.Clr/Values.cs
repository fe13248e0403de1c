using System.Collections.Generic;

namespace zivra.clr
{
    /// <summary>A pose.</summary>
    public class Frame
    {
        /// <summary>x, y, z [m].</summary>
        public double[] trans = new double[3];

        /// <summary>Rotation about x, y, z [rad].</summary>
        public double[] rpy = new double[3];

        /// <summary>The zero pose.</summary>
        public Frame() { }

        /// <summary>Copies six numbers: the first three into <see cref="trans"/>, the next three into <see cref="rpy"/>;
        /// <see cref="System.IndexOutOfRangeException"/> if there are fewer.</summary>
        public Frame(double[] _frame)
        {
            trans = new[] { _frame[0], _frame[1], _frame[2] };
            rpy = new[] { _frame[3], _frame[4], _frame[5] };
        }

        /// <summary>Keeps both arrays, without a copy.</summary>
        public Frame(double[] _trans, double[] _rpy)
        {
            trans = _trans;
            rpy = _rpy;
        }
    }

    /// <summary>A Cartesian target or measured pose.</summary>
    public partial class CartesianPosition : Frame
    {
        /// <summary>Arm angle of a robot of 7 axes [rad].</summary>
        public double elbow;

        /// <summary>Axis configuration; empty: the controller chooses.</summary>
        public List<int> confData = new List<int>();

        /// <summary>Positions of external axes.</summary>
        public List<double> external = new List<double>();

        /// <summary>An offset of a move's target.</summary>
        public partial class Offset
        {
            /// <summary>Which kind.</summary>
            public Type type = Type.none;

            /// <summary>By how much.</summary>
            public Frame frame = new Frame();
        }
    }

    /// <summary>Axis angles.</summary>
    public class JointPosition
    {
        /// <summary>Angles [rad].</summary>
        public List<double> joints = new List<double>();

        /// <summary>Positions of external axes.</summary>
        public List<double> external = new List<double>();
    }

    /// <summary>One class for all kinds of moves; the kind is told with the call.</summary>
    public partial class MoveCommand
    {
        /// <summary>Target, but of MoveAbsJ.</summary>
        public CartesianPosition cartTarget = new CartesianPosition();

        /// <summary>Target of MoveAbsJ.</summary>
        public JointPosition jointTarget = new JointPosition();

        /// <summary>A point on the way, of MoveC and MoveCF.</summary>
        public CartesianPosition auxPoint = new CartesianPosition();

        /// <summary>Offset of the target.</summary>
        public CartesianPosition.Offset cartTargetOffset = new CartesianPosition.Offset();

        /// <summary>Offset of the point on the way.</summary>
        public CartesianPosition.Offset auxPointOffset = new CartesianPosition.Offset();

        /// <summary>Speed [mm/s]; -1: the default.</summary>
        public double speed = -1;

        /// <summary>Speed of the axes, of MoveJ and MoveAbsJ; -1: the default.</summary>
        public double jointSpeed = -1;

        /// <summary>Speed of rotation; -1: the default.</summary>
        public double rotSpeed = -1;

        /// <summary>Zone [mm]; -1: the default.</summary>
        public double zone = -1;

        /// <summary>Comes back in events.</summary>
        public string customInfo = "";

        /// <summary>MoveCF: angle [rad], kind of rotation; MoveSP: radius, step of the radius, angle, direction; MoveWait: seconds.
        /// Missing ones of MoveCF and MoveSP are appended as 0 by the call.</summary>
        public List<double> args = new List<double>();
    }

    /// <summary>What the robot carries.</summary>
    public class Load
    {
        /// <summary>Mass [kg].</summary>
        public double mass;

        /// <summary>Centre of gravity [m].</summary>
        public double[] cog = new double[3];

        /// <summary>Inertia about x, y, z [kg m^2].</summary>
        public double[] inertia = new double[3];

        /// <summary>No load.</summary>
        public Load() { }

        /// <summary>Keeps both arrays, without a copy.</summary>
        public Load(double m, double[] c, double[] i)
        {
            mass = m;
            cog = c;
            inertia = i;
        }
    }

    /// <summary>Tool and work object in force.</summary>
    public class Toolset
    {
        /// <summary>Load of the tool.</summary>
        public Load load = new Load();

        /// <summary>Tool frame in the flange frame.</summary>
        public Frame end = new Frame();

        /// <summary>Work object frame.</summary>
        public Frame reference = new Frame();
    }

    /// <summary>A frame calculated from taught points.</summary>
    public class FrameCalibrationResult
    {
        /// <summary>The frame.</summary>
        public Frame frame = new Frame();

        /// <summary>The controller's figures of merit; zeros if it gives none.</summary>
        public double[] errors = new double[3];

        /// <summary>The zero frame.</summary>
        public FrameCalibrationResult() { }

        /// <summary>Keeps both.</summary>
        public FrameCalibrationResult(Frame f, double[] e)
        {
            frame = f;
            errors = e;
        }
    }

    /// <summary>An entry of the controller's user log.</summary>
    public class LogInfo
    {
        /// <summary>Number of the message.</summary>
        public readonly int id;

        /// <summary>When.</summary>
        public string timestamp;

        /// <summary>What happened.</summary>
        public string logText;

        /// <summary>What to do.</summary>
        public string repairHint;

        /// <summary>Keeps what it gets.</summary>
        public LogInfo(int _id, string ts, string ct, string r)
        {
            id = _id;
            timestamp = ts;
            logText = ct;
            repairHint = r;
        }
    }

    /// <summary>One record of a write to several objects of a slave's dictionary.</summary>
    public class SDOData
    {
        /// <summary>Index of the object.</summary>
        public int index;

        /// <summary>Its sub-index.</summary>
        public int sub_index;

        /// <summary>Bytes of data that count, at most 50.</summary>
        public int length;

        /// <summary>Time limit.</summary>
        public int over_time;

        /// <summary>Time to wait.</summary>
        public int wait_time;

        /// <summary>Whether the controller prints the data.</summary>
        public int print_data;

        /// <summary>The bytes.</summary>
        public byte[] data = new byte[50];
    }

    /// <summary>A frame on the panel's CAN bus.</summary>
    public class CANFrame
    {
        /// <summary>Identifier.</summary>
        public int frame_id;

        /// <summary>See <see cref="CANFormat"/>.</summary>
        public int frame_format;

        /// <summary>See <see cref="CANType"/>.</summary>
        public int frame_type = 2;

        /// <summary>One element a value.</summary>
        public byte[] data = new byte[0];

        /// <summary>Counts the elements of the data.</summary>
        public int frame_valid_length;

        /// <summary>An empty classic frame.</summary>
        public CANFrame() { }

        /// <summary>Keeps what it gets; no bytes are an empty array.</summary>
        public CANFrame(int id, int format, int type, byte[] bytes, int valid_len)
        {
            frame_id = id;
            frame_format = format;
            frame_type = type;
            data = bytes ?? new byte[0];
            frame_valid_length = valid_len;
        }
    }

    /// <summary>A program project of the controller's.</summary>
    public class RLProjectInfo
    {
        /// <summary>Its name.</summary>
        public string name;

        /// <summary>Names of its tasks.</summary>
        public List<string> taskList = new List<string>();

        /// <summary>A project without tasks.</summary>
        public RLProjectInfo(string n) => name = n;
    }

    /// <summary>A tool or a work object, as the controller keeps it.</summary>
    public class WorkToolInfo
    {
        /// <summary>Its name.</summary>
        public string name = "";

        /// <summary>Free text.</summary>
        public string alias = "";

        /// <summary>Held by the robot, not fixed in the cell.</summary>
        public bool robotHeld;

        /// <summary>Its frame [m], [rad].</summary>
        public Frame pos = new Frame();

        /// <summary>Its load [kg], [m], [kg m^2].</summary>
        public Load load = new Load();

        /// <summary>A nameless one.</summary>
        public WorkToolInfo() { }

        /// <summary>Keeps what it gets.</summary>
        public WorkToolInfo(string n, string a, bool isHeld, Frame p, Load l)
        {
            name = n;
            alias = a;
            robotHeld = isHeld;
            pos = p;
            load = l;
        }
    }

    /// <summary>Identity of a controller.</summary>
    public struct Info
    {
        /// <summary>Id of the robot.</summary>
        public string id;

        /// <summary>MAC address as text.</summary>
        public string mac;

        /// <summary>Version of the controller.</summary>
        public string version;

        /// <summary>Model of the robot.</summary>
        public string type;

        /// <summary>Count of axes.</summary>
        public int joint_num;
    }

    /// <summary>Several states read in one exchange.</summary>
    public struct StateList
    {
        /// <summary>Axis angles [rad].</summary>
        public double[] joint_pos;

        /// <summary>Pose.</summary>
        public CartesianPosition cart_pos;

        /// <summary>Names and states of all DI, then all DO.</summary>
        public (string, bool)[] digital_signals;

        /// <summary>Names and values of all AI, then all AO.</summary>
        public (string, double)[] analog_signals;

        /// <summary>Mode.</summary>
        public OperateMode operation_mode;

        /// <summary>Speed override, a fraction.</summary>
        public double speed_override;
    }

    /// <summary>Keys of the panel at the tool: true while pressed.</summary>
    public struct KeyPadState
    {
        /// <summary>Key 1.</summary>
        public bool key1_state;

        /// <summary>Key 2.</summary>
        public bool key2_state;

        /// <summary>Key 3.</summary>
        public bool key3_state;

        /// <summary>Key 4.</summary>
        public bool key4_state;

        /// <summary>Key 5.</summary>
        public bool key5_state;

        /// <summary>Key 6.</summary>
        public bool key6_state;

        /// <summary>Key 7.</summary>
        public bool key7_state;
    }

    /// <summary>A slave on the bus.</summary>
    public struct SlaveInfo
    {
        /// <summary>Who made it.</summary>
        public uint vendorId;

        /// <summary>What it is.</summary>
        public uint productCode;

        /// <summary>Its revision.</summary>
        public uint reversionNumber;

        /// <summary>Its address.</summary>
        public ushort slaveAddr;

        /// <summary>Its number.</summary>
        public uint slaveId;

        /// <summary>1 init, 2 pre-operational, 3 bootstrap, 4 safe-operational, 8 operational.</summary>
        public ushort alStatus;

        /// <summary>Its name.</summary>
        public string slaveName;
    }

    /// <summary>Choices of jogging.</summary>
    public partial struct JogOpt { }

    /// <summary>Choices of guiding by hand.</summary>
    public partial struct DragOpt { }

    /// <summary>Choices of guiding by hand.</summary>
    public partial struct DragParameter { }

    /// <summary>Choices of the panel at the tool.</summary>
    public partial struct NorvilOpt { }
}
