// Hears all kinds of events of a robot for some seconds, and prints them.
using zivra.clr;

if (args.Length < 1 || args.Length > 2 || args[0].StartsWith("-")) { Console.Error.WriteLine("usage: events ADDRESS [SECONDS]"); return 2; }
double seconds = 10;
if (args.Length == 2 && !(double.TryParse(args[1], out seconds) && seconds > 0 && seconds <= 86400))
{
    Console.Error.WriteLine($"events: SECONDS is a number above 0, not \"{args[1]}\"");
    return 2;
}
try
{
    using var robot = new TandiRobot(args[0]);
    int heard = 0;
    // Delegates run on threads of the library's own.
    void Print(Event kind, Dictionary<string, object> info)
    {
        Interlocked.Increment(ref heard);
        var values = info.Select(one => one.Key + " " + (one.Value is ErrorCode ec ? $"{ec.value}" : $"{one.Value}"));
        Console.WriteLine($"{kind}: {string.Join(", ", values)}");
    }
    robot.setConnectionHandler(up => Console.WriteLine(up ? "the link is up again" : "the link is down"));
    foreach (Event kind in Enum.GetValues<Event>())
    {
        robot.setEventWatcher(kind, info => Print(kind, info), out ErrorCode ec);
        if (ec.value != 0) throw new ApiException($"watching {kind}: {ec.message} ({ec.value})");
    }
    Thread.Sleep(TimeSpan.FromSeconds(seconds));
    Console.WriteLine($"heard {heard} events in {seconds} s");
    return 0;
}
catch (ApiException e) { Console.Error.WriteLine($"events: {args[0]}: {e.Message}"); return 1; }
