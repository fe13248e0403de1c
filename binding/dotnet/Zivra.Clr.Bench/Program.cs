// Makes the calls that the benchmark asks for, and tells how long each took.
// usage: Zivra.Clr.Bench ADDRESS OWN_ADDRESS    reads "KEY ROUNDS" a line, answers with a line of nanoseconds behind a "="
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.Linq;
using System.Net;
using System.Net.Sockets;
using System.Threading;
using zivra.clr;

const int mostWaiting = 100, eventsAtOnce = 100, stateLength = 8 + 20 + 8 + 3 * 48;
if (args.Length != 2) { Console.Error.WriteLine("usage: Zivra.Clr.Bench ADDRESS OWN_ADDRESS"); return 2; }
// The clock that the peer stamps its events with.
Expect(Stopwatch.Frequency == 1_000_000_000, "Stopwatch counts nanoseconds");
using var robot = new TandiRobot(args[0], args[1]);
using var sender = new Socket(AddressFamily.InterNetwork, SocketType.Dgram, ProtocolType.Udp);
var own = new IPEndPoint(IPAddress.Parse(args[1]), 1338);
byte[] content = new byte[stateLength];

ErrorCode ec;
string id = "";
ulong ts = 0;
double psi = 0;
double[] q = null, dq = null, tau = null;
var moves = new List<MoveCommand>[11];
for (int n = 0; n < moves.Length; n++)
{
    moves[n] = Enumerable.Range(0, n).Select(i => new MoveCommand
    {
        cartTarget = new CartesianPosition { trans = [0.4, 0.1234567, 0.5], rpy = [3.14159, 0.2, -3.1] },
        speed = 200,
        zone = 5,
    }).ToList();
}

// Of the events since they were last awaited: how many, and how long after its sending the last one was heard.
using var heard = new SemaphoreSlim(0);
long lastDelay = 0;
robot.setEventWatcher(Event.moveExecution, info =>
{
    long now = Stopwatch.GetTimestamp();
    lastDelay = now - long.Parse(((string)info["customInfo"]).AsSpan(1), CultureInfo.InvariantCulture);
    heard.Release();
}, out ec);
Expect(ec.value == 0, "setEventWatcher");
StartStream();

var times = new long[1 << 16];
for (string line; (line = Console.ReadLine()) != null;)
{
    string[] words = line.Split(' ');
    int rounds = int.Parse(words[1], CultureInfo.InvariantCulture);
    Run(words[0], times.AsSpan(0, rounds));
    Console.WriteLine('=' + string.Join(' ', times.Take(rounds)));
}
return 0;

static void Expect(bool held, string what)
{
    if (!held) throw new ApplicationException(what);
}

void StartStream()
{
    // The peer doesn't publish: the first states come from here.
    using var up = new ManualResetEventSlim();
    var publisher = new Thread(() => { do sender.SendTo(content, own); while (!up.Wait(20)); });
    publisher.Start();
    robot.startReceiveRobotState(1, new List<string> { "psi_m", "q_m", "dq_m", "tau_m" });
    up.Set();
    publisher.Join();
    while (robot.updateRobotState(1) > 0) { }
}

bool TakeState() => robot.updateRobotState(1) == stateLength && robot.getStateData("ts", ref ts) == 0
    && robot.getStateData("psi_m", ref psi) == 0 && robot.getStateData("q_m", ref q) == 0
    && robot.getStateData("dq_m", ref dq) == 0 && robot.getStateData("tau_m", ref tau) == 0;

long AwaitEvents(int count)
{
    for (int left = count; left > 0; left--) Expect(heard.Wait(10_000), "events were lost");
    return lastDelay / count;
}

void Run(string key, Span<long> ns)
{
    Kind kind = Enum.Parse<Kind>(key);
    for (int i = 0; i < ns.Length; i++)
    {
        if (kind == Kind.state && i % mostWaiting == 0)
            for (int k = Math.Min(mostWaiting, ns.Length - i); k > 0; k--) sender.SendTo(content, own);
        bool good = true;
        long begin = Stopwatch.GetTimestamp();
        switch (kind)
        {
            case Kind.state: good = TakeState(); break;
            case Kind.powerState: robot.powerState(out ec); break;
            case Kind.move1: robot.moveAppend(MoveCommand.Type.MoveL, moves[1], ref id, out ec); break;
            case Kind.move10: robot.moveAppend(MoveCommand.Type.MoveL, moves[10], ref id, out ec); break;
            case Kind.@event: robot.moveStart(out ec); break;
            case Kind.events: robot.stop(out ec); break;
        }
        long end = Stopwatch.GetTimestamp();
        ns[i] = kind < Kind.@event ? end - begin : AwaitEvents(kind == Kind.events ? eventsAtOnce : 1);
        Expect(good && ec.value == 0, key);
        if (kind is Kind.move1 or Kind.move10) robot.moveReset(out ec);
    }
}

internal enum Kind { state, powerState, move1, move10, @event, events }
