using System;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

public class ValuesTest
{
    [Fact]
    public void DefaultsAreTheNativeOnes()
    {
        var move = new MoveCommand();
        Assert.Equal((-1.0, -1.0, -1.0, -1.0, ""), (move.speed, move.jointSpeed, move.rotSpeed, move.zone, move.customInfo));
        Assert.Empty(move.args);
        Assert.Equal(new double[3], move.cartTargetOffset.frame.trans);
        Assert.Equal(CartesianPosition.Offset.Type.none, move.auxPointOffset.type);
        Assert.Equal((2, 0), (new CANFrame().frame_type, new CANFrame(1, 0, 0, null, 0).data.Length));
        Assert.Equal(50, new SDOData().data.Length);
        Assert.Equal(("", ""), (new WorkToolInfo().name, new WorkToolInfo().alias));
        Assert.Empty(new RLProjectInfo("one").taskList);
    }

    [Fact]
    public void AFrameCopiesSixNumbersAndKeepsTwoArrays()
    {
        double[] six = { 1, 2, 3, 4, 5, 6, 7 }, trans = { 1 }, rpy = { 2, 3, 4, 5 };
        var copied = new Frame(six);
        six[0] = 9;
        Assert.Equal(new double[] { 1, 2, 3 }, copied.trans);
        Assert.Equal(new double[] { 4, 5, 6 }, copied.rpy);
        Assert.Throws<IndexOutOfRangeException>(() => new Frame(new double[5]));
        Assert.Same(trans, new Frame(trans, rpy).trans);
    }
}
