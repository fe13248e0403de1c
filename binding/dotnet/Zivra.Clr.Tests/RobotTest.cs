using System;
using System.Collections.Concurrent;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

[Collection("robots")]  // the delegates of events are the process's
public sealed class RobotTest : IDisposable
{
    private readonly Simulator simulator = new("tandi", "--speed-factor", "10");
    private readonly TandiRobot robot;
    private ErrorCode ec;

    public RobotTest() => robot = new TandiRobot(simulator.Address, simulator.Address);

    public void Dispose()
    {
        robot.Dispose();
        simulator.Dispose();
    }

    private void Ready()
    {
        robot.setOperateMode(OperateMode.automatic, out ec);
        robot.setPowerState(true, out ec);
        robot.setMotionControlMode(MotionControlMode.NrtCommand, out ec);
        Assert.Equal(0, ec.value);
    }

    [Fact]
    public void EachShapeOfAResultArrives()
    {
        Assert.Matches(@"^\d", BaseRobot.sdkVersion());
        Assert.Equal(6, robot.robotInfo(out ec).joint_num);
        Assert.Equal(0, ec.value);
        robot.setPowerState(true, out ec);
        Assert.Equal(PowerState.on, robot.powerState(out ec));
        Assert.Equal(6, robot.jointPos(out ec).Length);
        CartesianPosition pose = robot.cartPosture(CoordinateType.flangeInBase, out ec);
        Assert.Equal(robot.posture(CoordinateType.flangeInBase, out ec), pose.trans.Concat(pose.rpy));
        StateList states = robot.getStateList(out ec);
        Assert.Equal(6, states.joint_pos.Length);
        Assert.All(states.digital_signals, one => Assert.NotEmpty(one.Item1));
        Assert.NotEmpty(robot.queryControllerLog(3, new List<LogInfoLevel> { LogInfoLevel.info }, 0, out ec));
        robot.queryControllerLog(3, null, 0, out ec);
        double[,] limits = null;
        robot.getSoftLimit(ref limits, out ec);
        Assert.Equal((6, 2), (limits.GetLength(0), limits.GetLength(1)));
        limits[1, 0] += 0.01;
        robot.setSoftLimit(false, limits, out ec);
        double[,] again = null;
        robot.getSoftLimit(ref again, out ec);
        Assert.Equal(limits, again);
        int[][] confs = null;
        double[][] solutions = robot.calcAllIkSolutions(pose, ref confs, out ec);
        Assert.Equal((0, solutions.Length), (ec.value, confs.Length));
        Assert.NotEmpty(solutions);
        Assert.All(solutions, one => Assert.Equal(6, one.Length));
        Assert.Equal(new bool[7], robot.getKeypadStateArray(out ec));
    }

    [Fact]
    public void ValuesByReferenceStayOnFailure()
    {
        int number = 41;
        robot.readRegister("nobody", 0, ref number, out ec);
        Assert.Equal((41, -17001), (number, ec.value));
        double acc = 0, jerk = 0;
        robot.adjustAcceleration(0.5, 0.25, out ec);
        robot.getAcceleration(ref acc, ref jerk, out ec);
        Assert.Equal((0.5, 0.25), (acc, jerk));
        double[] softLimit = null;
        robot.getRailParameter("softLimit", ref softLimit, out ec);
        Assert.Equal(2, softLimit.Length);
        double[] kept = { 7, 8 };
        robot.getRailParameter("nobody", ref kept, out ec);
        Assert.Equal((259, 7.0), (ec.value, kept[0]));
    }

    [Fact]
    public void MovesFillTheCallersArgsAndTellTheirEvents()
    {
        Ready();
        var heard = new BlockingCollection<Dictionary<string, object>>();
        robot.setEventWatcher(Event.moveExecution, heard.Add, out ec);
        CartesianPosition here = robot.cartPosture(CoordinateType.endInRef, out ec);
        var wait = new MoveCommand { args = { 0.1 } };
        string id = "";
        robot.moveAppend(MoveCommand.Type.MoveWait, wait, ref id, out ec);
        Assert.Equal(0, ec.value);
        var move = new MoveCommand { jointTarget = { joints = robot.jointPos(out ec).ToList() }, customInfo = "é 夹具 😀\uD83D" };
        move.jointTarget.joints[5] += 0.05;
        robot.moveAppend(MoveCommand.Type.MoveAbsJ, new List<MoveCommand> { move }, ref id, out ec);
        Assert.Equal(0, ec.value);
        robot.moveStart(out ec);
        Dictionary<string, object> info;
        do Assert.True(heard.TryTake(out info, TimeSpan.FromSeconds(20)));
        while ((string)info["cmdID"] != id);
        Assert.Equal((id, "é 夹具 😀\uFFFD"), ((string)info["cmdID"], (string)info["customInfo"]));
        Assert.Equal(0, Assert.IsType<ErrorCode>(info["error"]).value);
        Assert.IsType<bool>(info["reachTarget"]);
        Assert.Equal(id, robot.queryEventInfo(Event.moveExecution, out ec)["cmdID"]);
        var circle = new MoveCommand { cartTarget = here, auxPoint = here };
        robot.executeCommand(MoveCommand.Type.MoveCF, new List<MoveCommand> { circle, circle }, out ec);
        Assert.Equal(new List<double> { 0, 0 }, circle.args);
    }

    [Fact]
    public void BadArgumentsAreExceptionsOfTheirOwn()
    {
        var none = (Frame)null;
        Assert.Throws<NullReferenceException>(() => robot.setBaseFrame(none, out ec));
        Assert.Throws<NullReferenceException>(() => robot.setBaseFrame(new Frame(null, null), out ec));
        Assert.Throws<IndexOutOfRangeException>(() => robot.setBaseFrame(new Frame(new double[2], new double[3]), out ec));
        Assert.Throws<IndexOutOfRangeException>(() => robot.setSoftLimit(true, new double[1, 2], out ec));
        Assert.Throws<NotSupportedException>(() => robot.jacobian(new double[6], SegmentFrame.flange));
        Assert.Throws<NullReferenceException>(() => new BaseRobot().jointTorque(out ec));
        Assert.Throws<ArgumentOutOfRangeException>(() => { string id = ""; robot.moveAppend(MoveCommand.Type.MoveWait, new List<MoveCommand>(), ref id, out ec); });
        Assert.Throws<ArgumentNullException>(() => { int value = 0; robot.getMechUnit(null, "order", ref value, out ec); });
        Assert.StartsWith("network: ", Assert.Throws<ApiException>(() => new TandiRobot("127.71.255.255")).Message);
        using var nowhere = new TandiRobot();
        Assert.NotEmpty(Assert.Throws<ExternalException>(() => nowhere.ethercat()).Message);
        var foreign = new BaseEthercat(robot.handle);
        GC.SuppressFinalize(foreign);  // it isn't its own to release
        Assert.Throws<InvalidCastException>(() => foreign.GetSlaveCount(out ec));
        using var triax = new TriaxRobot();
        Assert.Throws<NotSupportedException>(() => triax.startReceiveRobotState(1, new List<string> { "q_m" }));
        Assert.Equal(PowerState.off, robot.powerState(out ec));  // it goes on
    }

    [Fact]
    public void ADisposedObjectSaysSo()
    {
        ForceControl force = robot.forceControl();
        BaseEthercat slaves = robot.ethercat();
        Assert.True(slaves.GetSlaveCount(out ec) > 0);
        Assert.Equal(slaves.GetSlaveCount(out ec), slaves.GetSlavesInfo(out ec).Count);
        robot.Dispose();
        robot.Dispose();
        Assert.Equal("zivra.clr.BaseRobot", Assert.Throws<ObjectDisposedException>(() => robot.powerState(out ec)).ObjectName);
        Assert.True(slaves.GetSlaveCount(out ec) > 0);
        force.fcInit(FrameType.world, out ec);
        force.Dispose();
        Assert.Throws<ObjectDisposedException>(() => force.fcStart(out ec));
        slaves.Dispose();
        Assert.Throws<ObjectDisposedException>(() => slaves.GetSlaveCount(out ec));
    }

    [Fact]
    public async Task ACallThatIsUnderWayKeepsItsResult()
    {
        using var slow = new Simulator("tandi", "--delay", "sys.power=2000", "--verbose");
        var other = new TandiRobot(slow.Address);
        Task<(PowerState, int)> call = Task.Run(() => (other.powerState(out ErrorCode result), result.value));
        slow.Prints("sys.power");
        other.Dispose();
        Assert.Throws<ObjectDisposedException>(() => other.powerState(out _));
        Assert.Equal((PowerState.off, 0), await call.WaitAsync(TimeSpan.FromSeconds(20)));
    }

    [Fact]
    public void TheStateStreamGivesFields()
    {
        robot.startReceiveRobotState(1, new List<string> { "q_m", "ts" });
        double[] angles = null;
        ulong time = 0, before = 0;
        Assert.True(robot.updateRobotState(1000) > 0);
        Assert.Equal(0, robot.getStateData("ts", ref before));
        Assert.True(robot.updateRobotState(1000) > 0);
        Assert.Equal(0, robot.getStateData("ts", ref time));
        Assert.True(time > before);
        Assert.Equal(0, robot.getStateData("q_m", ref angles));
        Assert.Equal(6, angles.Length);
        double single = 5;
        Assert.Equal((-1, 5.0), (robot.getStateData("q_m", ref single), single));
        robot.stopReceiveRobotState();
        Assert.Throws<ApiException>(() => robot.updateRobotState(1));
    }
}
