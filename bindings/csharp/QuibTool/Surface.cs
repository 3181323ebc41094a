using System;
using System.Reflection;
using System.Runtime.InteropServices;

namespace QuibTool
{
    // The beginning that the descriptions of both interfaces share.
    [StructLayout(LayoutKind.Sequential)]
    internal unsafe struct SurfaceDescription
    {
        internal uint dwSize, dwFlags, dwHeight, dwWidth;
        internal int lPitch;
        internal fixed uint counts[4];
        internal void* lpSurface;
        internal fixed uint colorKeys[8];
        internal uint formatSize, formatFlags, fourCC, bitCount, redMask, greenMask, blueMask,
            alpha;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct OlderDescription
    {
        internal SurfaceDescription head;
        internal uint caps;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal unsafe struct NewerDescription
    {
        internal SurfaceDescription head;
        internal fixed uint caps[4];
        internal uint textureStage;
    }

    // The methods of a surface that are used, by their places in the interface's table.
    internal static unsafe class SurfaceMethods
    {
        internal const int GetDescription = 22, Lock = 25, Unlock = 32, Count = 49;

        [UnmanagedFunctionPointer(CallingConvention.Winapi)]
        internal delegate int Describer(IntPtr self, IntPtr to);

        [UnmanagedFunctionPointer(CallingConvention.Winapi)]
        private delegate int Locker(IntPtr self, IntPtr area, IntPtr to, uint flags, IntPtr handle);

        private static readonly Describer describe = Describe, unlock = (self, area) => 0;
        private static readonly Locker locker =
            (self, area, to, flags, handle) => Describe(self, to);

        // One for all of the surfaces in memory, for as long as the process lives.
        internal static readonly IntPtr Table = MakeTable();

        private static IntPtr MakeTable()
        {
            IntPtr table = Marshal.AllocHGlobal(Count * IntPtr.Size);
            for (int i = 0; i < Count; ++i)
                Marshal.WriteIntPtr(table, i * IntPtr.Size, IntPtr.Zero);
            Marshal.WriteIntPtr(table, GetDescription * IntPtr.Size,
                Marshal.GetFunctionPointerForDelegate(describe));
            Marshal.WriteIntPtr(table, Lock * IntPtr.Size,
                Marshal.GetFunctionPointerForDelegate(locker));
            Marshal.WriteIntPtr(table, Unlock * IntPtr.Size,
                Marshal.GetFunctionPointerForDelegate(unlock));
            return table;
        }

        // An interface in memory is the table's address with the description behind it.
        private static int Describe(IntPtr self, IntPtr to)
        {
            byte* said = (byte*)self + IntPtr.Size;
            uint size = *(uint*)said;
            Buffer.MemoryCopy(said, (void*)to, size, size);
            return 0;
        }
    }

    // A surface in memory: both interfaces, and the pixels.
    internal sealed unsafe class SurfaceHandle : SafeHandle
    {
        internal SurfaceHandle(long bytes) : base(IntPtr.Zero, true)
        {
            SetHandle(Marshal.AllocHGlobal(new IntPtr(bytes)));
            const int Chunk = 1 << 24;
            for (long done = 0; done < bytes; done += Chunk)
                new Span<byte>((byte*)handle + done, (int)Math.Min(Chunk, bytes - done)).Clear();
        }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        protected override bool ReleaseHandle()
        {
            Marshal.FreeHGlobal(handle);
            return true;
        }
    }

    /// <summary>A drawing surface: one in memory, or the caller's, by the address of its DirectDraw
    /// interface. Of the caller's, the address is tested to be one of an interface, and size and
    /// format are asked of it before each call; whether it is a surface's, and lives, is his to
    /// know.</summary>
    public sealed unsafe class Surface : IDisposable
    {
        private const int InterfaceBytes = 160; // for the table's address and a description
        private const uint RgbFormat = 0x40;
        private readonly SurfaceHandle handle; // null for the caller's
        private readonly IntPtr older, newer;

        /// <summary>Makes a surface in memory, of 16 bits (5, 6 and 5 for R, G and B), 15 (5 each,
        /// stored in 16), 24 or 32 bits per pixel, black at first.</summary>
        public Surface(int width, int height, int bits = 32)
        {
            if (bits != 15 && bits != 16 && bits != 24 && bits != 32)
                throw new ArgumentOutOfRangeException("bits", "must be 15, 16, 24 or 32, not " +
                    bits);
            Need.Size(width, height, bits == 15 || bits == 16 ? 24 : bits);
            long rowBytes = Need.RowBytes(width, bits == 15 ? 16 : bits);
            handle = new SurfaceHandle(2 * InterfaceBytes + rowBytes * height);
            older = handle.DangerousGetHandle();
            newer = older + InterfaceBytes;
            SurfaceDescription said = new SurfaceDescription {
                dwHeight = (uint)height, dwWidth = (uint)width, lPitch = (int)rowBytes,
                lpSurface = (byte*)newer + InterfaceBytes, formatSize = 32, formatFlags = RgbFormat,
                bitCount = bits == 15 ? 16 : (uint)bits,
                redMask = bits == 16 ? 0xF800u : bits == 15 ? 0x7C00u : 0xFF0000u,
                greenMask = bits == 16 ? 0x07E0u : bits == 15 ? 0x03E0u : 0xFF00u,
                blueMask = bits <= 16 ? 0x001Fu : 0xFFu,
            };
            Store(older, said, sizeof(OlderDescription));
            Store(newer, said, sizeof(NewerDescription));
        }

        private Surface(IntPtr older, IntPtr newer)
        {
            this.older = older;
            this.newer = newer;
        }

        private static void Store(IntPtr to, SurfaceDescription said, int size)
        {
            said.dwSize = (uint)size;
            *(IntPtr*)to = SurfaceMethods.Table;
            *(SurfaceDescription*)(to + IntPtr.Size) = said;
        }

        /// <summary>The caller's surface with an IDirectDrawSurface at an address.</summary>
        public static Surface At(IntPtr surface)
        {
            NeedInterface(surface);
            return new Surface(surface, IntPtr.Zero);
        }

        /// <summary>The caller's surface with an IDirectDrawSurface7 at an address. It serves
        /// Image.DrawTo7 alone.</summary>
        public static Surface At7(IntPtr surface)
        {
            NeedInterface(surface);
            return new Surface(IntPtr.Zero, surface);
        }

        private static void NeedInterface(IntPtr surface)
        {
            if (surface == IntPtr.Zero)
                throw new ArgumentNullException("surface", "must be the address of an interface");
            bool good = (long)surface % IntPtr.Size == 0 &&
                Platform.IsReadable((void*)surface, IntPtr.Size);
            IntPtr* table = good ? *(IntPtr**)surface : null;
            good = good && (long)table % IntPtr.Size == 0 && table != null &&
                Platform.IsReadable(table, (SurfaceMethods.Unlock + 1) * IntPtr.Size);
            foreach (int slot in new[] { SurfaceMethods.GetDescription, SurfaceMethods.Lock,
                SurfaceMethods.Unlock })
                good = good && table[slot] != IntPtr.Zero &&
                    Platform.IsReadable((void*)table[slot], 1);
            if (!good)
                throw new ArgumentException("must be the address of a surface's interface",
                    "surface");
        }

        /// <summary>Frees a surface in memory; leaves the caller's alone. Using either throws
        /// ObjectDisposedException.</summary>
        public void Dispose()
        {
            IsDisposed = true;
            if (handle != null)
                handle.Dispose();
        }

        private bool IsDisposed { get; set; }

        internal static void NeedOpen(Surface surface, string name)
        {
            if (surface == null)
                throw new ArgumentNullException(name, "must be a surface");
            if (surface.IsDisposed)
                throw new ObjectDisposedException(name, "the surface has been disposed");
        }

        // --- What it tells of itself -----------------------------------------------

        private SurfaceDescription Description
        {
            get
            {
                NeedOpen(this, "this");
                bool held = false;
                try {
                    if (handle != null)
                        handle.DangerousAddRef(ref held);
                    return Asked(older != IntPtr.Zero ? older : newer, older != IntPtr.Zero
                        ? sizeof(OlderDescription) : sizeof(NewerDescription));
                } finally {
                    if (held)
                        handle.DangerousRelease();
                }
            }
        }

        // Of a surface that is itself managed, Mono finds the delegate behind the address, of
        // whatever type it is.
        private static int Describe(IntPtr surface, IntPtr to)
        {
            IntPtr method = (*(IntPtr**)surface)[SurfaceMethods.GetDescription];
            try {
                Delegate found = Marshal.GetDelegateForFunctionPointer(method,
                    typeof(SurfaceMethods.Describer));
                SurfaceMethods.Describer plain = found as SurfaceMethods.Describer;
                return plain != null ? plain(surface, to) : (int)found.DynamicInvoke(surface, to);
            } catch (Exception error) when (error is ArgumentException ||
                error is InvalidCastException || error is TargetInvocationException ||
                error is TargetParameterCountException) {
                throw new InvalidOperationException("the surface's description cannot be asked for",
                    error);
            }
        }

        private static SurfaceDescription Asked(IntPtr surface, int size)
        {
            byte* said = stackalloc byte[InterfaceBytes];
            for (int i = 0; i < InterfaceBytes; ++i)
                said[i] = 0;
            *(int*)said = size;
            int status = Describe(surface, (IntPtr)said);
            if (status < 0)
                throw new InvalidOperationException(
                    "the surface does not tell its description: 0x" + status.ToString("X8"));
            return *(SurfaceDescription*)said;
        }

        /// <summary>Pixels of a row.</summary>
        public int Width { get { return (int)Description.dwWidth; } }

        /// <summary>Rows.</summary>
        public int Height { get { return (int)Description.dwHeight; } }

        /// <summary>Bits per pixel, 15 for 16 with five of them green.</summary>
        public int Bits
        {
            get
            {
                SurfaceDescription said = Description;
                return said.bitCount == 16 && said.greenMask != 0x07E0 ? 15 : (int)said.bitCount;
            }
        }

        /// <summary>Bytes from one row to the next.</summary>
        public int RowBytes { get { return Description.lPitch; } }

        /// <summary>The IDirectDrawSurface, good as long as the surface is.</summary>
        public IntPtr Interface
        {
            get
            {
                NeedOpen(this, "this");
                return older;
            }
        }

        /// <summary>The IDirectDrawSurface7, good as long as the surface is.</summary>
        public IntPtr Interface7
        {
            get
            {
                NeedOpen(this, "this");
                return newer;
            }
        }

        /// <summary>Works on all rows of a surface in memory. The span is good for the length of
        /// the call.</summary>
        public void WithPixels(PixelAction action)
        {
            if (action == null)
                throw new ArgumentNullException("action");
            NeedOpen(this, "this");
            if (handle == null)
                throw new InvalidOperationException("the surface must be one in memory");
            bool held = false;
            try {
                handle.DangerousAddRef(ref held);
                SurfaceDescription said = *(SurfaceDescription*)(older + IntPtr.Size);
                action(new Span<byte>(said.lpSurface, said.lPitch * (int)said.dwHeight));
            } finally {
                if (held)
                    handle.DangerousRelease();
            }
        }

        // --- Calls -----------------------------------------------------------------

        // The address for a call, on a surface of an image's size.
        internal void* For(Image image, Hold hold, bool newest)
        {
            IntPtr used = Kept(hold, newest);
            if (Width != image.Width || Height != image.Height)
                throw new ArgumentException("must have " + image.Width + " x " + image.Height +
                    " pixels, not " + Width + " x " + Height, "surface");
            return (void*)used;
        }

        private IntPtr Kept(Hold hold, bool newest)
        {
            IntPtr used = newest ? newer : older;
            if (used == IntPtr.Zero)
                throw new ArgumentException("must have an IDirectDrawSurface" + (newest ? "7" : ""),
                    "surface");
            if (handle != null)
                hold.Use(handle);
            return used;
        }

        /// <summary>Overwrites each even row by the odd one below it, or each odd row by the even
        /// one above it. [QuibInterlace]</summary>
        public void Interlace(Field keep)
        {
            NeedOpen(this, "this");
            uint mode = (uint)Need.Choice(keep, "keep") + 2;
            using (Hold hold = Hold.OnNone())
                QuibException.Check("QuibInterlace",
                    Native.QuibInterlace((void*)Kept(hold, false), mode));
        }
    }

    public sealed unsafe partial class Image
    {
        /// <summary>Draws the image on a surface of its size, in the surface's format. Of gray on 16
        /// bits every row takes as many pixels as there are rows. [Quib2Surface]</summary>
        public void DrawTo(Surface surface)
        {
            Surface.NeedOpen(surface, "surface");
            using (Hold hold = Hold.On(this))
                QuibException.Check("Quib2Surface",
                    Native.Quib2Surface(Record, surface.For(this, hold, false)));
        }

        /// <summary>The same by the newer interface: 8, 24 and 32 bits on 15 and 16, else 24 and 32
        /// bits. [Quib2Surface7]</summary>
        public void DrawTo7(Surface surface)
        {
            Surface.NeedOpen(surface, "surface");
            using (Hold hold = Hold.On(this)) {
                void* at = surface.For(this, hold, true);
                Need.Depth(this, "this",
                    surface.Bits <= 16 ? new[] { 8, 24, 32 } : new[] { 24, 32 });
                QuibException.Check("Quib2Surface7", Native.Quib2Surface7(Record, at));
            }
        }

        /// <summary>Draws a 24-bit or 32-bit image on a surface of 15 or 16 bits and of its size.
        /// The last pixel of odd rows goes the other way, and an 8-bit image takes the surface's
        /// bytes. [QuibToSurf_16]</summary>
        public void DrawTo16(Surface surface)
        {
            Surface.NeedOpen(surface, "surface");
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 8, 24, 32);
                void* at = surface.For(this, hold, false);
                int bits = surface.Bits;
                if (bits != 15 && bits != 16)
                    throw new ArgumentException("must have 15 or 16 bits, not " + bits, "surface");
                QuibException.Check("QuibToSurf_16",
                    Native.QuibToSurf_16(Record, at, bits == 16 ? 1 : 0));
            }
        }

        /// <summary>Reads a surface of 24 or 32 bits into this image of 24 or 32 bits and of its
        /// size. Where both have 24 bits every fourth byte becomes 255. [Surface2Quib]</summary>
        public void ReadFrom(Surface surface)
        {
            Surface.NeedOpen(surface, "surface");
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 24, 32);
                void* at = surface.For(this, hold, false);
                int bits = surface.Bits;
                if (bits != 24 && bits != 32)
                    throw new ArgumentException("must have 24 or 32 bits, not " + bits, "surface");
                QuibException.Check("Surface2Quib", Native.Surface2Quib(at, Record));
            }
        }
    }
}
