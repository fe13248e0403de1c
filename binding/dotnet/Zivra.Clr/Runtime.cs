using System;
using System.Collections.Generic;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

namespace zivra.clr
{
    // The five functions of the native library.
    internal static unsafe class Native
    {
        private const string Library = "zivra_clr";

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate void InvokeDelegate(long number, IntPtr message, int size);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate void DropDelegate(long number);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        private static extern ulong zivra_clr_schema();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        private static extern void zivra_clr_callbacks(IntPtr invoke, IntPtr drop);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int zivra_clr_call(long self, int operation, byte* input, int size, byte* output, int capacity);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int zivra_clr_take(byte* output, int capacity);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        private static extern void zivra_clr_release(long self);

        // Native code holds pointers to these as long as the process runs.
        private static readonly InvokeDelegate invoke = Delegates.Invoke;
        private static readonly DropDelegate drop = Delegates.Drop;
        private static readonly object once = new object();
        private static volatile bool ready;

        // Checks, once, that the native library is the one that this assembly was made with.
        internal static void Ready()
        {
            if (ready) return;
            lock (once)
            {
                if (ready) return;
                RefuseOtherThan(Schema.Number);
                zivra_clr_callbacks(Marshal.GetFunctionPointerForDelegate(invoke), Marshal.GetFunctionPointerForDelegate(drop));
                // No native thread may enter managed code that is coming down.
                AppDomain.CurrentDomain.ProcessExit += (sender, e) => zivra_clr_callbacks(IntPtr.Zero, IntPtr.Zero);
                ready = true;
            }
        }

        // Throws unless the native library was made from the table with that number.
        internal static void RefuseOtherThan(ulong expected)
        {
            if (zivra_clr_schema() != expected)
                throw new BadImageFormatException("The native library zivra_clr is of another build than zivra.clr.");
        }

        // Releases an object at most once, whatever thread comes first.
        internal static void Release(ref long handle)
        {
            long number = Interlocked.Exchange(ref handle, 0);
            if (number != 0) zivra_clr_release(number);
        }
    }

    // What native code may call, by the numbers that it was given.
    internal static class Delegates
    {
        private static readonly Dictionary<long, Delegate> known = new Dictionary<long, Delegate>();
        private static long last;

        internal static long NewNumber() => Interlocked.Increment(ref last);

        internal static void Keep(long number, Delegate one)
        {
            lock (known) known[number] = one;
        }

        internal static void Drop(long number)
        {
            lock (known) known.Remove(number);
        }

        // How many are kept; for tests.
        internal static int Count
        {
            get { lock (known) return known.Count; }
        }

        internal static void Invoke(long number, IntPtr message, int size)
        {
            try
            {
                Delegate one;
                lock (known) if (!known.TryGetValue(number, out one)) return;
                Call call = Call.Begin();
                call.Take(message, size);
                if (one is EventCallbackDelegate hears)
                {
                    call.Get(out Dictionary<string, object> info);
                    call.End();
                    hears(info);
                }
                else
                {
                    call.Get(out bool up);
                    call.End();
                    ((ConnectionHandlerDelegate)one)(up);
                }
            }
            catch (Exception e)
            {
                // It mustn't leave through native frames: it ends the process as any unhandled exception does.
                ThreadPool.UnsafeQueueUserWorkItem(state => ExceptionDispatchInfo.Capture((Exception)state).Throw(), e);
            }
        }
    }

    // One call: its arguments, then its reply, in one buffer. Each thread keeps one for the next call.
    internal sealed unsafe partial class Call
    {
        private const int KeepAtMost = 1 << 20;
        private const int LongestArray = 0x7fffffc7;  // the runtime's limit
        private const int UsualSize = 1024;
        private const int ShortText = 256;

        [ThreadStatic]
        private static Call free;

        private byte[] buffer = new byte[UsualSize];
        private bool busy;
        private int length;
        private int next;
        private List<KeyValuePair<long, Delegate>> delegates;

        internal static Call Begin()
        {
            Call call = free;
            // A call inside of a delegate finds the outer one busy; one that threw stays so.
            if (call == null || call.busy) free = call = new Call();
            call.busy = true;
            call.length = 0;
            return call;
        }

        internal void End()
        {
            busy = false;
            if (buffer.Length > KeepAtMost) buffer = new byte[UsualSize];
        }

        internal void Invoke(long self, int operation, string owner)
        {
            Native.Ready();
            if (delegates != null) foreach (var one in delegates) Delegates.Keep(one.Key, one.Value);
            fixed (byte* at = buffer) length = Native.zivra_clr_call(self, operation, at, length, at, buffer.Length);
            if (length > buffer.Length)
            {
                buffer = new byte[length];
                fixed (byte* at = buffer) Native.zivra_clr_take(at, buffer.Length);
            }
            next = 0;
            Get(out int fault);
            if (fault >= Fault.disposed && delegates != null) foreach (var one in delegates) Delegates.Drop(one.Key);
            delegates = null;
            if (fault == Fault.none) return;
            Get(out string text);
            End();
            throw Exception(fault, text, owner);
        }

        internal void Take(IntPtr message, int size)
        {
            Room(size);
            Marshal.Copy(message, buffer, 0, size);
            length = size;
            next = 0;
        }

        private static Exception Exception(int fault, string text, string owner)
        {
            switch (fault)
            {
                case Fault.api: return new ApiException(text);
                case Fault.indexOutOfRange: return new IndexOutOfRangeException(text);
                case Fault.nullReference: return new NullReferenceException(text);
                case Fault.argumentNull: return new ArgumentNullException(null, text);
                case Fault.argument: return new ArgumentException(text);
                case Fault.argumentOutOfRange: return new ArgumentOutOfRangeException(null, text);
                case Fault.notSupported: return new NotSupportedException(text);
                case Fault.external: return new ExternalException(text);
                case Fault.outOfMemory: return new OutOfMemoryException(text);
                case Fault.disposed: return new ObjectDisposedException("zivra.clr." + owner);
                case Fault.foreignHandle: return new InvalidCastException(text);
                default: return new InvalidOperationException(text);
            }
        }

        private void Room(int size)
        {
            int needed = checked(length + size);
            if (needed > buffer.Length) Array.Resize(ref buffer, Math.Max(needed, (int)Math.Min(2L * buffer.Length, LongestArray)));
        }

        private Span<byte> Next(int size)
        {
            Room(size);
            var place = new Span<byte>(buffer, length, size);
            length += size;
            return place;
        }

        internal void Put(bool v) => Next(1)[0] = v ? (byte)1 : (byte)0;
        internal void Put(byte v) => Next(1)[0] = v;
        internal void Put(ushort v) => BitConverter.TryWriteBytes(Next(2), v);
        internal void Put(int v) => BitConverter.TryWriteBytes(Next(4), v);
        internal void Put(uint v) => BitConverter.TryWriteBytes(Next(4), v);
        internal void Put(long v) => BitConverter.TryWriteBytes(Next(8), v);
        internal void Put(ulong v) => BitConverter.TryWriteBytes(Next(8), v);
        internal void Put(float v) => BitConverter.TryWriteBytes(Next(4), v);
        internal void Put(double v) => BitConverter.TryWriteBytes(Next(8), v);

        internal void Put(string v)
        {
            if (v == null)
            {
                Put(-1);
                return;
            }
            int size;
            try
            {
                if (v.Length > ShortText) Room(checked(4 + strict.GetByteCount(v)));
                else Room(4 + 3 * v.Length);  // the most that it can take; to count costs as much as to write
                size = strict.GetBytes(v, 0, v.Length, buffer, length + 4);
            }
            catch (EncoderFallbackException)
            {
                Put(WithBrokenPairs(v));
                return;
            }
            Put(size);
            length += size;
        }

        private static readonly UTF8Encoding strict = new UTF8Encoding(false, true);

        // UTF-8 with a byte that is none for each half of a pair: whether such a text is refused or mended is for the
        // native side to say.
        private static byte[] WithBrokenPairs(string v)
        {
            var bytes = new List<byte>();
            for (int i = 0; i < v.Length; i++)
            {
                int width = char.IsSurrogatePair(v, i) ? 2 : 1;
                if (width == 1 && char.IsSurrogate(v[i])) bytes.Add(0xFF);
                else bytes.AddRange(strict.GetBytes(v.Substring(i, width)));
                i += width - 1;
            }
            return bytes.ToArray();
        }

        private void Block(Array v, int bytes)
        {
            Put(v.Length);
            Room(bytes);
            Buffer.BlockCopy(v, 0, buffer, length, bytes);
            length += bytes;
        }

        internal void Put(byte[] v) => Block(v, v.Length);
        internal void Put(int[] v) => Block(v, checked(4 * v.Length));
        internal void Put(float[] v) => Block(v, checked(4 * v.Length));
        internal void Put(double[] v) => Block(v, checked(8 * v.Length));

        internal void Put(bool[] v)
        {
            Put(v.Length);
            foreach (bool one in v) Put(one);
        }

        internal void Put(double[,] v)
        {
            Put(v.GetLength(0));
            Put(v.GetLength(1));
            foreach (double one in v) Put(one);
        }

        internal void PutDelegate(Delegate v)
        {
            long number = v == null ? 0 : Delegates.NewNumber();
            if (v != null) (delegates ??= new List<KeyValuePair<long, Delegate>>()).Add(new KeyValuePair<long, Delegate>(number, v));
            Put(number);
        }

        private int Advance(int size)
        {
            int at = next;
            if (size < 0 || size > length - at) throw new InvalidOperationException("a reply of the native library is damaged");
            next = at + size;
            return at;
        }

        private int Count()
        {
            Get(out int n);
            if (n < 0 || n > length - next) throw new InvalidOperationException("a reply of the native library is damaged");
            return n;
        }

        internal void Get(out bool v) => v = buffer[Advance(1)] != 0;
        internal void Get(out byte v) => v = buffer[Advance(1)];
        internal void Get(out ushort v) => v = BitConverter.ToUInt16(buffer, Advance(2));
        internal void Get(out int v) => v = BitConverter.ToInt32(buffer, Advance(4));
        internal void Get(out uint v) => v = BitConverter.ToUInt32(buffer, Advance(4));
        internal void Get(out long v) => v = BitConverter.ToInt64(buffer, Advance(8));
        internal void Get(out ulong v) => v = BitConverter.ToUInt64(buffer, Advance(8));
        internal void Get(out float v) => v = BitConverter.ToSingle(buffer, Advance(4));
        internal void Get(out double v) => v = BitConverter.ToDouble(buffer, Advance(8));

        internal void Get(out string v)
        {
            Get(out int size);
            v = size == -1 ? null : Encoding.UTF8.GetString(buffer, Advance(size), size);
        }

        private T[] Block<T>(int width) where T : struct
        {
            var v = new T[Count()];
            int size = checked(width * v.Length);
            MemoryMarshal.Cast<byte, T>(new ReadOnlySpan<byte>(buffer, Advance(size), size)).CopyTo(v);
            return v;
        }

        internal void Get(out byte[] v) => v = Block<byte>(1);
        internal void Get(out int[] v) => v = Block<int>(4);
        internal void Get(out float[] v) => v = Block<float>(4);
        internal void Get(out double[] v) => v = Block<double>(8);

        internal void Get(out bool[] v)
        {
            v = new bool[Count()];
            for (int i = 0; i < v.Length; i++) Get(out v[i]);
        }

        internal void Get(out double[,] v)
        {
            int rows = Count();
            v = new double[rows, Count()];
            for (int i = 0; i < rows; i++)
                for (int k = 0; k < v.GetLength(1); k++) Get(out v[i, k]);
        }

        internal void Get(out ErrorCode v)
        {
            Get(out int value);
            Get(out string message);
            v = new ErrorCode(value, message);
        }

        internal void Get(out Dictionary<string, object> v)
        {
            int n = Count();
            v = new Dictionary<string, object>(n);
            for (; n > 0; n--)
            {
                Get(out string key);
                Get(out byte kind);
                switch (kind)
                {
                    case 0: Get(out int number); v[key] = number; break;
                    case 1: Get(out double real); v[key] = real; break;
                    case 2: Get(out string text); v[key] = text; break;
                    case 3: Get(out bool truth); v[key] = truth; break;
                    case 4: Get(out ErrorCode ec); v[key] = ec; break;
                    default: throw new InvalidOperationException("a reply of the native library is damaged");
                }
            }
        }

        // Whoever reads a null move finds something null in it, and whoever doesn't goes on; a null list is one null move.
        private static readonly MoveCommand nothing = new MoveCommand
        {
            cartTarget = null, jointTarget = null, auxPoint = null, cartTargetOffset = null, auxPointOffset = null, args = null
        };

        internal void PutMoves(MoveCommand v) => Put(v ?? nothing);

        internal void PutMoves(List<MoveCommand> v)
        {
            int n = v?.Count ?? 1;
            Put(n);
            for (int i = 0; i < n; i++) PutMoves(v?[i]);
        }

        // Appends what the call appended to the `args` of a move to the caller's own list.
        internal void Change(MoveCommand v)
        {
            int n = Count();
            for (int i = 0; i < n; i++)
            {
                Get(out double one);
                if (i >= v.args.Count) v.args.Add(one);
            }
        }

        internal void Change(List<MoveCommand> v)
        {
            int n = Count();
            for (int i = 0; i < n; i++) Change(v?[i]);
        }
    }
}
