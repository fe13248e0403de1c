using System;
using System.Collections.Concurrent;
using System.Collections.Generic;
using System.Linq;
using System.Threading;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

/// <summary>One operation for each shape of a value, there and back.</summary>
[Collection("robots")]  // the delegates of events are the process's
public sealed class ShapesTest : IDisposable
{
    private readonly Simulator simulator = new("tandi", "--speed-factor", "10", "--verbose");
    private readonly TandiRobot robot;
    private ErrorCode ec;

    public ShapesTest() => robot = new TandiRobot(simulator.Address);

    public void Dispose()
    {
        robot.Dispose();
        simulator.Dispose();
    }

    private void Done() => Assert.True(ec.value == 0, ec.message);

    [Fact]
    public void Registers()
    {
        robot.writeRegister("float_array", 9, 2.5f, out ec);
        robot.writeRegister("float_array", 0, new[] { 1.5f, -2f }, out ec);
        Done();
        float real = 0;
        robot.readRegister("float_array", 9, ref real, out ec);
        List<float> reals = null;
        robot.readRegister("float_array", ref reals, out ec);
        Assert.Equal((2.5f, 1.5f, -2f, 2.5f), (real, reals[0], reals[1], reals[9]));

        robot.writeRegister("int_array", 9, -5, out ec);
        robot.writeRegister("int_array", 0, new[] { int.MaxValue, int.MinValue }, out ec);
        Done();
        int whole = 0;
        robot.readRegister("int_array", 9, ref whole, out ec);
        List<int> wholes = null;
        robot.readRegister("int_array", ref wholes, out ec);
        Assert.Equal((-5, int.MaxValue, int.MinValue, -5), (whole, wholes[0], wholes[1], wholes[9]));

        robot.writeRegister("bool_array", 9, true, out ec);
        robot.writeRegister("bool_array", 0, new[] { true, false, true }, out ec);
        Done();
        bool flag = false;
        robot.readRegister("bool_array", 9, ref flag, out ec);
        List<bool> flags = null;
        robot.readRegister("bool_array", ref flags, out ec);
        Assert.True(flag);
        Assert.Equal(new[] { true, false, true, false }, flags.Take(4));
    }

    [Fact]
    public void ThePanel()
    {
        robot.setNorvilRS485(NorvilOpt.Vout.supply24v, true, out ec);
        byte[] back = new byte[4];
        robot.NorvilRS485SendData(3, 4, new byte[] { 1, 2, 255 }, ref back, out ec);
        Done();
        Assert.Equal(new byte[] { 1, 2, 255, 0 }, back);
        bool[] coils = { true, false, true }, read = new bool[3];
        robot.NorvilRWModbusRTUCoil(1, 15, 20, 3, ref coils, false, out ec);
        robot.NorvilRWModbusRTUCoil(1, 1, 20, 3, ref read, false, out ec);
        Done();
        Assert.Equal(new[] { true, false, true }, read);
        int[] words = { -1, 7 };
        robot.NorvilRWModbusRTUReg(1, 16, 20, "int16", 2, ref words, false, out ec);
        Done();
        Assert.Equal(new[] { 65535, 7 }, words);
        robot.CANSendData("uint8", new[] { new CANFrame(5, 1, 1, new byte[] { 7, 200 }, 2), new CANFrame() }, out ec);
        Done();
        CANFrame frame = null, second = null;
        robot.CANReceiveData(100, "uint8", ref frame, out ec);
        robot.CANReceiveData(100, "uint8", ref second, out ec);
        Done();
        Assert.Equal((0x105, 1, 1, 2), (frame.frame_id, frame.frame_format, frame.frame_type, frame.frame_valid_length));
        Assert.Equal(new byte[] { 7, 200 }, frame.data);
        Assert.Equal((0x100, 2), (second.frame_id, second.frame_type));
        Assert.Equal(new KeyPadState(), robot.getKeypadState(out ec));
        Done();
    }

    [Fact]
    public void Slaves()
    {
        using BaseEthercat slaves = robot.ethercat();
        SlaveInfo drive = slaves.GetSlavesInfo(out ec)[0];
        Assert.Equal((8, 1, "servo drive"), (drive.alStatus, drive.slaveAddr, drive.slaveName));
        Assert.Equal(drive, slaves.GetSlaveInfo(drive.slaveAddr, out ec));
        Assert.Equal(drive.alStatus, slaves.GetSlaveState(drive.slaveAddr, out ec));
        Assert.True(slaves.SetSlavesState(2, out ec));
        Assert.Equal(2, slaves.GetSlaveState(drive.slaveAddr, out ec));
        Done();
        var velocity = new SDOData { index = 0x6081, length = 4, over_time = 500, data = new byte[] { 0x40, 0xd, 3, 0, 9 } };
        // Refused, since no object has the index 0: what crossed shows in the request.
        Assert.False(slaves.WriteMultiSDO(1, new List<SDOData> { null, new SDOData { sub_index = 1, length = 2, data = null }, velocity }, out ec));
        simulator.Prints("\"ethercat.write_multi_SDO_data\":[{\"addr\":1,\"data\":[],\"index\":0,");
        simulator.Prints("\"data\":[0,0],\"index\":0,\"length\":2,");
        simulator.Prints("\"data\":[64,13,3,0],\"index\":24705,\"length\":4,");
        slaves.WritePDO(1, 0, 3, new byte[] { 200, 1 }, out ec);
        simulator.Prints("\"data\":[200,1,0],\"offset\":0,\"size\":3");
    }

    [Fact]
    public void ToolsAndFrames()
    {
        var load = new Load(1.5, new[] { 0.1, 0.2, 0.3 }, new[] { 1.0, 2.0, 3.0 });
        var end = new Frame(new[] { 0.5, 0.25, 0.125 }, new[] { 0.1, 0.2, 0.3 });
        robot.setToolset(new Toolset { load = load, end = end }, out ec);
        Done();
        Toolset tools = robot.toolset(out ec);
        Assert.Equal((1.5, 3.0, 0.3), (tools.load.mass, tools.load.inertia[2], tools.load.cog[2]));
        Assert.Equal(end.trans.Concat(end.rpy), tools.end.trans.Concat(tools.end.rpy));
        Assert.Equal(new double[3], tools.reference.trans);

        robot.setToolInfo(new WorkToolInfo("torch", "arc", true, end, load), out ec);
        Done();
        WorkToolInfo tool = robot.toolsInfo(out ec).Single(one => one.name == "torch");
        Assert.Equal((true, 1.5), (tool.robotHeld, tool.load.mass));
        Assert.Equal(end.trans, tool.pos.trans, (a, b) => Math.Abs(a - b) < 1e-9);

        robot.setRailParameter("baseFrame", end, out ec);
        Frame rail = null;
        robot.getRailParameter("baseFrame", ref rail, out ec);
        Done();
        Assert.Equal(end.trans.Concat(end.rpy), rail.trans.Concat(rail.rpy));
        string[] axes = null;
        robot.getMechUnit("u2", "axes_info", ref axes, out ec);
        Assert.Equal(new[] { "axis2", "axis3" }, axes);
    }

    [Fact]
    public void ACalibration()
    {
        CartesianPosition home = robot.cartPosture(CoordinateType.endInRef, out ec);
        double[] At(double x, double y)
        {
            var there = new CartesianPosition { trans = new[] { home.trans[0] + x, home.trans[1] + y, home.trans[2] }, rpy = home.rpy };
            double[] angles = robot.calcIk(there, out ec);
            Done();
            return angles;
        }
        FrameCalibrationResult table = robot.calibrateFrame(FrameType.wobj, new List<double[]> { At(0, 0), At(0, 0.1), At(-0.1, 0.05) }, false, new double[3], out ec);
        Done();
        Assert.Equal(new[] { home.trans[0], home.trans[1], home.trans[2], 0, 0, Math.PI / 2 }, table.frame.trans.Concat(table.frame.rpy),
            (a, b) => Math.Abs(a - b) < 1e-6);
        Assert.Equal(3, table.errors.Length);
    }

    [Fact]
    public void AProgramTellsWhereItIs()
    {
        RLProjectInfo demo = Assert.Single(robot.projectsInfo(out ec));
        Assert.Equal(("demo", "task0"), (demo.name, Assert.Single(demo.taskList)));
        robot.setMotionControlMode(MotionControlMode.NrtRLTask, out ec);
        robot.setOperateMode(OperateMode.automatic, out ec);
        robot.setPowerState(true, out ec);
        var heard = new BlockingCollection<Dictionary<string, object>>();
        robot.setEventWatcher(Event.rlExecution, heard.Add, out ec);
        robot.loadProject(demo.name, demo.taskList, out ec);
        robot.ppToMain(out ec);
        robot.runProject(out ec);
        Done();
        Dictionary<string, object> place;
        do Assert.True(heard.TryTake(out place, TimeSpan.FromSeconds(20)));
        while ((string)place["executeFile"] == "");
        Assert.Equal("task0", place["taskName"]);
        Assert.IsType<int>(place["executeLine"]);
        robot.setEventWatcher(Event.rlExecution, null, out ec);
        LogInfo last = robot.queryControllerLog(1, LogInfoLevel.info, out ec)[0];
        Assert.Matches(@"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", last.timestamp);
        Assert.NotEmpty(last.logText);
        Assert.NotNull(last.repairHint);
    }

    [Fact]
    public void NumbersThatAreNoneAndTheSmallest()
    {
        // A value by reference goes in, and comes back where nothing could be read.
        foreach (double one in new[] { double.NaN, double.PositiveInfinity, double.NegativeInfinity, -0.0, double.Epsilon })
        {
            double value = one;
            robot.getRailParameter("nobody", ref value, out ec);
            Assert.Equal((259, BitConverter.DoubleToInt64Bits(one)), (ec.value, BitConverter.DoubleToInt64Bits(value)));
            var single = (float)one;
            robot.readRegister("nobody", 0, ref single, out ec);
            Assert.Equal((-17001, BitConverter.SingleToInt32Bits((float)one)), (ec.value, BitConverter.SingleToInt32Bits(single)));
        }
    }

    [Fact]
    public void AReplyThatIsLargerThanTheBuffer()
    {
        string name = string.Concat(Enumerable.Repeat("é夹", 500)), read = null;
        robot.setRailParameter("name", name, out ec);
        Done();
        // Another thread begins with a buffer of its own, which is small.
        var reader = new Thread(() => robot.getRailParameter("name", ref read, out ec));
        reader.Start();
        reader.Join();
        Done();
        Assert.Equal(name, read);
    }
}
