using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    // A memory device context with a bitmap selected into it.
    internal sealed unsafe class DeviceHandle : SafeHandle
    {
        private readonly IntPtr bitmap, before;
        internal readonly IntPtr Pixels;

        internal DeviceHandle(byte[] info) : base(IntPtr.Zero, true)
        {
            SetHandle(Platform.CreateCompatibleDC(IntPtr.Zero));
            void* pixels = null;
            fixed (byte* at = info)
                bitmap = Platform.CreateDIBSection(handle, at, 0, &pixels, IntPtr.Zero, 0);
            Pixels = (IntPtr)pixels;
            if (handle == IntPtr.Zero || bitmap == IntPtr.Zero || pixels == null) {
                Dispose();
                throw new OutOfMemoryException("no device context with such a bitmap");
            }
            before = Platform.SelectObject(handle, bitmap);
        }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        protected override bool ReleaseHandle()
        {
            if (before != IntPtr.Zero)
                Platform.SelectObject(handle, before);
            if (bitmap != IntPtr.Zero)
                Platform.DeleteObject(bitmap);
            return Platform.DeleteDC(handle) != 0;
        }
    }

    /// <summary>A device context in memory, of 24 or 32 bits per pixel, black at first.</summary>
    public sealed unsafe class Device : IDisposable
    {
        internal readonly DeviceHandle Handle;

        /// <summary>Makes a device context of a size.</summary>
        public Device(int width, int height, int bits = 32)
        {
            if (bits != 24 && bits != 32)
                throw new ArgumentOutOfRangeException("bits", "must be 24 or 32, not " + bits);
            Need.Size(width, height, bits);
            Width = width;
            Height = height;
            Bits = bits;
            RowBytes = (int)Need.RowBytes(width, bits);
            byte[] info = BitmapHeader.Write(width, -height, bits, BitmapHeader.Bytes + 4);
            Array.Clear(info, 20, 4); // the size that a negative height has given
            Handle = new DeviceHandle(info);
        }

        /// <summary>Pixels of a row.</summary>
        public int Width { get; private set; }

        /// <summary>Rows.</summary>
        public int Height { get; private set; }

        /// <summary>Bits per pixel.</summary>
        public int Bits { get; private set; }

        /// <summary>Bytes from one row to the next.</summary>
        public int RowBytes { get; private set; }

        /// <summary>The HDC, good as long as the device is.</summary>
        public IntPtr Context
        {
            get
            {
                NeedOpen(this, "this");
                return Handle.DangerousGetHandle();
            }
        }

        /// <summary>Gives the device context back. Using it throws ObjectDisposedException.
        /// </summary>
        public void Dispose()
        {
            Handle.Dispose();
        }

        internal static void NeedOpen(Device device, string name)
        {
            if (device == null)
                throw new ArgumentNullException(name, "must be a device");
            if (device.Handle.IsClosed)
                throw new ObjectDisposedException(name, "the device has been disposed");
        }

        /// <summary>Works on all rows, the top one first, of pixels B, G, R and a fourth byte at 32
        /// bits. The span is good for the length of the call.</summary>
        public void WithPixels(PixelAction action)
        {
            if (action == null)
                throw new ArgumentNullException("action");
            NeedOpen(this, "this");
            bool held = false;
            try {
                Handle.DangerousAddRef(ref held);
                Platform.GdiFlush();
                action(new Span<byte>((void*)Handle.Pixels, RowBytes * Height));
            } finally {
                if (held)
                    Handle.DangerousRelease();
            }
        }
    }

    public sealed unsafe partial class Image
    {
        /// <summary>Draws the image with its corner at (x, y) of a device. [QuibDrawToHDC]
        /// </summary>
        public void DrawTo(Device device, int x, int y)
        {
            Device.NeedOpen(device, "device");
            using (Hold hold = Hold.On(this))
                QuibException.Check("QuibDrawToHDC",
                    Native.QuibDrawToHDC(Record, hold.Use(device.Handle), x, y));
        }

        /// <summary>Draws the image with its corner at (x, y) of a device context of the system's,
        /// an HDC. One that is none is drawn on in vain. [QuibDrawToHDC]</summary>
        public void DrawTo(IntPtr context, int x, int y)
        {
            if (context == IntPtr.Zero)
                throw new ArgumentNullException("context", "must be a device context");
            using (Hold.On(this))
                QuibException.Check("QuibDrawToHDC",
                    Native.QuibDrawToHDC(Record, (void*)context, x, y));
        }
    }
}
