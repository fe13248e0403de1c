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
