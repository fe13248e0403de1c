using System;
using System.Collections.Generic;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

/// <summary>How arguments cross that aren't there, or aren't whole; no controller is needed for it.</summary>
public sealed class MessageTest : IDisposable
{
    private readonly TandiRobot robot = new();
    private ErrorCode ec;
    private string id = "";

    public void Dispose() => robot.Dispose();

    [Fact]
    public void NullsMatterToTheKindsThatReadThem()
    {
        const int notConnected = 255;
        var joint = new MoveCommand { cartTarget = null, auxPoint = null, cartTargetOffset = null, auxPointOffset = null, args = null };
        robot.moveAppend(MoveCommand.Type.MoveAbsJ, joint, ref id, out ec);
        Assert.Equal((notConnected, null), (ec.value, joint.args));
        var line = new MoveCommand { jointTarget = null, auxPoint = null, auxPointOffset = null, args = null };
        robot.moveAppend(MoveCommand.Type.MoveL, line, ref id, out ec);
        Assert.Equal(notConnected, ec.value);
        var second = new List<MoveCommand> { new(), null };
        robot.moveAppend(MoveCommand.Type.MoveWait, second, ref id, out ec);
        Assert.Equal(notConnected, ec.value);
        robot.executeCommand(MoveCommand.Type.MoveWait, null, out ec);
        Assert.Equal(0, ec.value);
        foreach (Action bad in new Action[]
        {
            () => robot.moveAppend(MoveCommand.Type.MoveL, joint, ref id, out ec),
            () => robot.moveAppend(MoveCommand.Type.MoveSP, line, ref id, out ec),
            () => robot.moveAppend(MoveCommand.Type.MoveL, second, ref id, out ec),
            () => robot.moveAppend(MoveCommand.Type.MoveWait, (MoveCommand)null, ref id, out ec),
            () => robot.moveAppend(MoveCommand.Type.MoveWait, (List<MoveCommand>)null, ref id, out ec),
            () => robot.executeCommand(MoveCommand.Type.MoveJ, null, out ec),
        }) Assert.Throws<NullReferenceException>(bad);
    }

    [Fact]
    public void DynamicsAreRefusedWhateverTheyGet()
    {
        foreach (Action call in new Action[]
        {
            () => robot.setTcpCoor(null, null),
            () => robot.jacobianDot(null, null, SegmentFrame.flange),
            () => robot.getMassMatrix(null),
            () => robot.getTorqueNoFriction(null, null, null, out _, out _, out _, out _),
        }) Assert.Throws<NotSupportedException>(call);
    }

    [Fact]
    public void AFailureLeavesTheCallersOwnObject()
    {
        double[] none = null, some = { 7 };
        var frame = new Frame();
        Frame same = frame;
        robot.getRailParameter("softLimit", ref none, out ec);
        Assert.NotEqual(0, ec.value);
        Assert.Null(none);
        double[] kept = some;
        robot.getRailParameter("softLimit", ref kept, out ec);
        Assert.Same(some, kept);
        robot.getRailParameter("baseFrame", ref frame, out ec);
        Assert.Same(same, frame);
    }

    [Fact]
    public void HalvesOfPairsAreRefusedWhereTextsHaveToFit()
    {
        int value = 0;
        foreach (string broken in new[] { "\uD83D", "a\uDE00b", "\U0001F600\uD83D" })
            Assert.Throws<ArgumentException>(() => robot.getMechUnit(broken, "order", ref value, out ec));
    }

    [Fact]
    public void ALongMessageGrowsByDoubling()
    {
        const int size = 8 << 20;
        long before = GC.GetAllocatedBytesForCurrentThread();
        Call call = Call.Begin();
        call.Put(new bool[size]);
        Assert.InRange(GC.GetAllocatedBytesForCurrentThread() - before, size, 8L * size);
    }
}
