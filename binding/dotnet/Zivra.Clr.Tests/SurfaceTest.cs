using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Xml.Linq;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

/// <summary>Compares the assembly with what it has to have, so that no operation is forgotten.</summary>
public class SurfaceTest
{
    // Names with the count of their overloads, if there are several.
    private static readonly Dictionary<string, string> operations = new()
    {
        ["BaseRobot"] = @"adjustAcceleration adjustSpeedOnline baseFrame calcAllIkSolutions calcFk*2 calcIk*2 calibrateFrame
            cartPosture checkPath*4 clearServoAlarm configNtp connectToRobot*3 disconnectFromRobot ethercat executeCommand
            getAI getAcceleration getCoriolisVector getDI getDO getExtAxisInfo*5 getMassMatrix getMechUnit*3
            getRailParameter*6 getRobotCfg_DHparam getSoftLimit getStateData*3 getStateList getTorqueNoFriction importFile
            importProject jacobian jacobianDot jointPos jointTorque jointVel loadProject moveAppend*2 moveReset moveStart
            operateMode operationState pauseProject posture powerState ppToMain projectsInfo queryControllerLog*2
            queryEventInfo readRegister*6 rebootSystem recoverState removeFiles removeProject robotInfo runProject
            sdkVersion setAO setAutoIgnoreZone setBaseFrame setConnectionHandler setDI setDO setDefaultConfOpt
            setDefaultSpeed setDefaultZone setEventWatcher setGravityDirection setMaxCacheSize setMotionControlMode
            setOperateMode setPowerState setProjectRunningOpt setRailParameter*6 setSimulationMode setSoftLimit setTcpCoor
            setTeachPendantMode setToolInfo setToolset*2 setWobjInfo shutdownSystem startJog startJogWithExt
            startReceiveRobotState stop stopReceiveRobotState syncTimeWithServer toolsInfo toolset updateRobotState
            wobjsInfo writeRegister*6",
        ["Cobot"] = @"CANReceiveData CANSendData NorvilRS485SendData NorvilRWModbusRTUCoil NorvilRWModbusRTUReg
            calibrateForceSensor cancelRecordPath disableCollisionDetection disableDrag enableCollisionDetection enableDrag*2
            forceControl getKeypadState getKeypadStateArray queryPathLists removePath replayPath saveRecordPath
            setNorvilRS485 setNorvilVout startRecordPath stopRecordPath useRciClient",
        ["StandardRobot"] = "disableCollisionDetection enableCollisionDetection getAvoidSingularity setAvoidSingularity",
        ["TandiRobot"] = "getAvoidSingularity setAvoidSingularity",
        ["TandiFiveRobot"] = "enableCompletePostureLerp",
        ["TandiSevenRobot"] = "",
        ["QuillRobot"] = "",
        ["TriaxRobot"] = "",
        ["QuadraxRobot"] = "",
        ["ForceControl"] = @"fcInit fcMonitor fcStart fcStop getEndTorque pauseOverlay restartOverlay
            setCartesianControlMaxVel setCartesianControlMaxWrench setCartesianDesiredForce setCartesianMaxVel
            setCartesianNullspaceStiffness setCartesianStiffness setControlType setFcGain setForceCondition setFriction
            setJointControlMaxTorque setJointControlMaxVel setJointDesiredTorque setJointMaxEnergy setJointMaxMomentum
            setJointMaxVel setJointStiffness setLissajousOverlay setLoad setPoseBoxCondition setSineOverlay
            setTorqueCondition startOverlay stopOverlay waitCondition",
        ["BaseEthercat"] = @"GetSlaveCount GetSlaveInfo GetSlaveState GetSlavesInfo ReadPDO ReadSDO SetSlavesState
            WriteMultiSDO WritePDO WriteSDO",
        ["BaseUpgrade"] = "connect*2 exportBackup upgrade",
    };

    private const string others = @"ApiException AvoidSingularityMethod BackupItem CANFormat CANFrame CANType CartesianPosition
        CartesianPosition+Offset CartesianPosition+Offset+Type ConnectionHandlerDelegate CoordinateType DragOpt DragOpt+Space
        DragOpt+Type DragParameter DragParameter+Space DragParameter+Type ErrorCode Event EventCallbackDelegate Frame
        FrameCalibrationResult FrameType Info JogOpt JogOpt+Space JogSpace JointPosition KeyPadState Load LogInfo LogInfoLevel
        MotionControlMode MoveCommand MoveCommand+Type NorvilOpt NorvilOpt+Vout OperateMode OperationState PowerState
        RLProjectInfo RtControllerMode SDOData SegmentFrame SlaveInfo StateList StopLevel Toolset WorkToolInfo WorkType";

    private static IEnumerable<string> Words(string text) =>
        text.Split((char[])null, StringSplitOptions.RemoveEmptyEntries).OrderBy(one => one, StringComparer.Ordinal);

    [Fact]
    public void ClassesAreThose() => Assert.Equal(
        Words(others).Concat(operations.Keys).Select(one => "zivra.clr." + one).OrderBy(one => one, StringComparer.Ordinal),
        typeof(BaseRobot).Assembly.GetExportedTypes().Select(one => one.FullName).OrderBy(one => one, StringComparer.Ordinal));

    [Fact]
    public void OperationsAreThose()
    {
        const BindingFlags own = BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.DeclaredOnly;
        foreach (var (name, expected) in operations)
        {
            var methods = typeof(BaseRobot).Assembly.GetType("zivra.clr." + name).GetMethods(own).Where(one => one.Name != "Dispose");
            Assert.Equal(Words(expected), methods.GroupBy(one => one.Name)
                .Select(one => one.Count() == 1 ? one.Key : $"{one.Key}*{one.Count()}").OrderBy(one => one, StringComparer.Ordinal));
            // A managed ec is always the last.
            Assert.All(methods.Select(one => one.GetParameters()).Where(one => one.Any(p => p.Name == "ec")),
                one => Assert.True(one[^1].Name == "ec" && one[^1].IsOut));
        }
    }

    [Fact]
    public void ConstructorsAreThose()
    {
        string Of(Type one) => one.Name + ":" + string.Join(",", one.GetConstructors().Select(c => c.GetParameters().Length).OrderBy(n => n));
        Assert.Equal(new[] { "BaseRobot:0", "Cobot:0", "StandardRobot:0,1,2", "TriaxRobot:0,1", "QuadraxRobot:0,1", "TandiFiveRobot:0,1,2",
            "TandiRobot:0,1,2", "TandiSevenRobot:0,1,2", "QuillRobot:0,1,2", "ForceControl:", "BaseEthercat:", "BaseUpgrade:0,1" },
            new[] { typeof(BaseRobot), typeof(Cobot), typeof(StandardRobot), typeof(TriaxRobot), typeof(QuadraxRobot), typeof(TandiFiveRobot),
                typeof(TandiRobot), typeof(TandiSevenRobot), typeof(QuillRobot), typeof(ForceControl), typeof(BaseEthercat), typeof(BaseUpgrade) }.Select(Of));
    }

    private const string enumerations = @"
        PowerState on 0 off 1 estop 2 gstop 3 unknown -1
        OperateMode manual 0 automatic 1 unknown -1
        OperationState idle 0 jog 1 rtControlling 2 drag 3 rlProgram 4 demo 5 dynamicIdentify 6 frictionIdentify 7 loadIdentify 8 moving 9 jogging 10 unknown -1
        WorkType industrial 0 collaborative 1
        CoordinateType flangeInBase 0 endInRef 1
        StopLevel stop0 0 stop1 1 stop2 2 suppleStop 3
        MotionControlMode Idle 0 NrtCommand 1 NrtRLTask 2 RtCommand 3
        RtControllerMode jointPosition 0 cartesianPosition 1 jointImpedance 2 cartesianImpedance 3 torque 4
        SegmentFrame joint1 1 joint2 2 joint3 3 joint4 4 joint5 5 joint6 6 joint7 7 flange 8 endEffector 9 stiffness 10
        JogSpace world 0 flange 1 baseFrame 2 toolFrame 3 wobjFrame 4 jointSpace 5 singularityAvoidMode 6 baseParallelMode 7
        JogOpt+Space world 0 flange 1 baseFrame 2 toolFrame 3 wobjFrame 4 jointSpace 5 singularityAvoidMode 6 baseParallelMode 7
        FrameType world 0 baseFrame 1 flange 2 tool 3 wobj 4 path 5 rail 6
        AvoidSingularityMethod lockAxis4 0 wrist 1 jointWay 2
        Event moveExecution 0 safety 1 rlExecution 2 logReporter 3
        LogInfoLevel info 0 warning 1 err 2
        CANFormat STANDARD 0 EXTENDED 1
        CANType CANFD_ACCELERATED 0 CANFD 1 CanClassic 2
        BackupItem customConfig 0 robotConfig 1 robotConfigWithoutBodyParams 2 controllerLog 3 systemLog 4 rlProgram 5 backupRlProgram 6 sdkRecordPath 7
        DragOpt+Space jointSpace 0 cartesianSpace 1
        DragOpt+Type translationOnly 0 rotationOnly 1 freely 2
        DragParameter+Space jointSpace 0 cartesianSpace 1
        DragParameter+Type translationOnly 0 rotationOnly 1 freely 2
        NorvilOpt+Vout off 0 reserve 1 supply12v 2 supply24v 3
        CartesianPosition+Offset+Type none 0 offs 1 relTool 2
        MoveCommand+Type MoveL 0 MoveJ 1 MoveAbsJ 2 MoveC 3 MoveCF 4 MoveSP 5 MoveWait 6";

    private const string fields = @"
        Frame: double[] trans, double[] rpy
        CartesianPosition : Frame: double elbow, List<int> confData, List<double> external
        CartesianPosition+Offset: Type type, Frame frame
        JointPosition: List<double> joints, List<double> external
        MoveCommand: CartesianPosition cartTarget, JointPosition jointTarget, CartesianPosition auxPoint, Offset cartTargetOffset, Offset auxPointOffset, double speed, double jointSpeed, double rotSpeed, double zone, string customInfo, List<double> args
        Load: double mass, double[] cog, double[] inertia
        Toolset: Load load, Frame end, Frame reference
        FrameCalibrationResult: Frame frame, double[] errors
        LogInfo: readonly int id, string timestamp, string logText, string repairHint
        SDOData: int index, int sub_index, int length, int over_time, int wait_time, int print_data, byte[] data
        CANFrame: int frame_id, int frame_format, int frame_type, byte[] data, int frame_valid_length
        RLProjectInfo: string name, List<string> taskList
        WorkToolInfo: string name, string alias, bool robotHeld, Frame pos, Load load
        struct Info: string id, string mac, string version, string type, int joint_num
        struct StateList: double[] joint_pos, CartesianPosition cart_pos, (string, bool)[] digital_signals, (string, double)[] analog_signals, OperateMode operation_mode, double speed_override
        struct KeyPadState: bool key1_state, bool key2_state, bool key3_state, bool key4_state, bool key5_state, bool key6_state, bool key7_state
        struct SlaveInfo: uint vendorId, uint productCode, uint reversionNumber, ushort slaveAddr, uint slaveId, ushort alStatus, string slaveName";

    private static IEnumerable<string> Lines(string table) =>
        table.Split('\n', StringSplitOptions.TrimEntries | StringSplitOptions.RemoveEmptyEntries).OrderBy(one => one, StringComparer.Ordinal);

    private static string NameOf(Type one)
    {
        if (one.IsArray) return NameOf(one.GetElementType()) + "[]";
        string arguments = string.Join(", ", one.GetGenericArguments().Select(NameOf));
        if (one.Name.StartsWith("ValueTuple")) return $"({arguments})";
        if (one.IsGenericType) return $"List<{arguments}>";
        return one.Name switch
        {
            "Double" => "double", "Int32" => "int", "UInt32" => "uint", "UInt16" => "ushort", "Byte" => "byte", "Boolean" => "bool",
            "String" => "string", _ => one.Name
        };
    }

    [Fact]
    public void EnumerationsAreThose() => Assert.Equal(Lines(enumerations), typeof(BaseRobot).Assembly.GetExportedTypes().Where(one => one.IsEnum)
        .Select(one => one.FullName["zivra.clr.".Length..] + string.Concat(Enum.GetNames(one).Select(name => $" {name} {(int)Enum.Parse(one, name)}")))
        .OrderBy(one => one, StringComparer.Ordinal));

    [Fact]
    public void FieldsAreThose()
    {
        const BindingFlags own = BindingFlags.Public | BindingFlags.Instance | BindingFlags.DeclaredOnly;
        string Of(Type one) => (one.IsValueType ? "struct " : "") + one.FullName["zivra.clr.".Length..]
            + (one.BaseType.Assembly == one.Assembly ? " : " + one.BaseType.Name : "") + ": "
            + string.Join(", ", one.GetFields(own).OrderBy(f => f.MetadataToken).Select(f => (f.IsInitOnly ? "readonly " : "") + $"{NameOf(f.FieldType)} {f.Name}"));
        Assert.Equal(Lines(fields), typeof(BaseRobot).Assembly.GetExportedTypes().Where(one => !one.IsEnum && one.GetFields(own).Length > 0)
            .Select(Of).OrderBy(one => one, StringComparer.Ordinal));
    }

    [Fact]
    public void DocumentationTellsMoreThanNames()
    {
        var text = XDocument.Load(Path.ChangeExtension(typeof(BaseRobot).Assembly.Location, ".xml"));
        string Of(string member) => text.Descendants("member").Single(one => one.Attribute("name").Value.StartsWith(member)).Element("summary").Value;
        Assert.Contains("Axis angles [rad]", Of("M:zivra.clr.BaseRobot.jointPos("));
        Assert.Contains("lower end", Of("M:zivra.clr.BaseRobot.setRailParameter(System.String,System.Double[],"));
        Assert.Contains("at most 30 s", Of("M:zivra.clr.Cobot.startRecordPath("));
    }
}
