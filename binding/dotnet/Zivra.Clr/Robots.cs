using System;

namespace zivra.clr
{
    // Marks constructors that make no native object.
    internal enum Shell { None }

    /// <summary>The operations that every robot has. Make an object of the class of the robot's model: one of this class
    /// has no native object, and its operations throw <see cref="NullReferenceException"/>. A robot that isn't disposed
    /// keeps its native object until the process ends. Operations report in <c>ec</c>; after <see cref="Dispose()"/> they
    /// throw <see cref="ObjectDisposedException"/>.</summary>
    public partial class BaseRobot : IDisposable
    {
        internal long handle;

        internal BaseRobot(Shell none) { }

        /// <summary>Ends the native robot, after calls that are under way; a second time does nothing.</summary>
        public void Dispose()
        {
            Dispose(true);
            GC.SuppressFinalize(this);
        }

        /// <summary>Ends the native robot if <paramref name="disposing"/>.</summary>
        protected virtual void Dispose(bool disposing)
        {
            if (disposing) Native.Release(ref handle);
        }
    }

    /// <summary>What all collaborative robots share. Made directly, it has no native object.</summary>
    public partial class Cobot : BaseRobot
    {
        internal Cobot(Shell none) : base(none) { }
    }

    /// <summary>Industrial robot of 6 axes.</summary>
    public partial class StandardRobot : BaseRobot { }

    /// <summary>Industrial robot of 3 axes.</summary>
    public partial class TriaxRobot : BaseRobot { }

    /// <summary>Industrial robot of 4 axes.</summary>
    public partial class QuadraxRobot : BaseRobot { }

    /// <summary>Collaborative robot of 5 axes.</summary>
    public partial class TandiFiveRobot : Cobot { }

    /// <summary>Collaborative robot of 6 axes.</summary>
    public partial class TandiRobot : Cobot { }

    /// <summary>Collaborative robot of 7 axes.</summary>
    public partial class TandiSevenRobot : Cobot { }

    /// <summary>Collaborative robot of 7 axes.</summary>
    public partial class QuillRobot : Cobot { }

    /// <summary>Commands of a force control run, made by <see cref="Cobot.forceControl"/>. It may outlive the robot, and
    /// stays until the process ends unless it is disposed. Arrays are padded with zeros or cut to the length
    /// needed.</summary>
    public partial class ForceControl : IDisposable
    {
        private long handle;

        internal ForceControl(long number) => handle = number;

        /// <summary>Releases the native object; a second time does nothing.</summary>
        public void Dispose()
        {
            Native.Release(ref handle);
            GC.SuppressFinalize(this);
        }
    }

    /// <summary>The EtherCAT slaves behind a controller, made by <see cref="BaseRobot.ethercat"/>. It may outlive the
    /// robot.</summary>
    public partial class BaseEthercat : IDisposable
    {
        internal long handle;

        internal BaseEthercat(long number) => handle = number;

        /// <summary>Closes the link, if nobody did.</summary>
        ~BaseEthercat() => Native.Release(ref handle);

        /// <summary>Closes the link; a second time does nothing.</summary>
        public void Dispose()
        {
            Native.Release(ref handle);
            GC.SuppressFinalize(this);
        }
    }

    /// <summary>Sends upgrade packages to a controller and fetches backups from it; needs no robot. Holds 512 MiB of
    /// address space until it is disposed.</summary>
    public partial class BaseUpgrade : IDisposable
    {
        private long handle;

        /// <summary>Ends the connection; a second time does nothing.</summary>
        public void Dispose()
        {
            Native.Release(ref handle);
            GC.SuppressFinalize(this);
        }
    }
}
