using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Threading;

namespace QuibTool
{
    // What images need for the length of a call. They are locked, the oldest first, so that
    // nobody waits in a circle; their handles are kept from being freed; and their records have
    // the regions and masks, which they lose again at the end. May be nested.
    internal sealed unsafe class Hold : IDisposable
    {
        private List<Image> images = new List<Image>();
        private readonly List<SafeHandle> kept = new List<SafeHandle>();
        private readonly List<IntPtr> before = new List<IntPtr>();
        private IntPtr regions;
        private int locked;

        private Hold(params Image[] given)
        {
            try {
                Lock(given);
                foreach (Image image in images) {
                    if (image.Handle.IsClosed)
                        throw new ObjectDisposedException("Mask", "the image has been disposed");
                    Use(image.Handle);
                }
                Install();
            } catch {
                Dispose();
                throw;
            }
        }

        // For a call without images.
        internal static Hold OnNone()
        {
            return new Hold();
        }

        internal static Hold On(Image self)
        {
            Need.Open(self, "this");
            return new Hold(self);
        }

        internal static Hold On(Image self, Image other, string name)
        {
            Need.Open(self, "this");
            Need.Open(other, name);
            return new Hold(self, other);
        }

        internal static Hold On(Image self, Image other, string name, Image third, string thirdName)
        {
            Need.Open(self, "this");
            Need.Open(other, name);
            Need.Open(third, thirdName);
            return new Hold(self, other, third);
        }

        // Masks may change as long as their images are not locked.
        private void Lock(Image[] given)
        {
            for (;;) {
                images = WithMasks(given);
                foreach (Image image in images) {
                    Monitor.Enter(image.Gate);
                    ++locked;
                }
                List<Image> now = WithMasks(given);
                bool same = now.Count == images.Count;
                for (int i = 0; same && i < now.Count; ++i)
                    same = ReferenceEquals(now[i], images[i]);
                if (same)
                    return;
                Unlock();
            }
        }

        private static List<Image> WithMasks(Image[] given)
        {
            List<Image> found = new List<Image>();
            foreach (Image image in given) {
                Image mask = image.MaskOrNull;
                if (!found.Contains(image))
                    found.Add(image);
                if (mask != null && !found.Contains(mask))
                    found.Add(mask);
            }
            found.Sort((a, b) => a.Number.CompareTo(b.Number));
            return found;
        }

        private void Install()
        {
            regions = Marshal.AllocHGlobal(sizeof(IplROI) * images.Count);
            foreach (Image image in images)
                if (image.MaskOrNull != null && image.MaskOrNull.MaskOrNull != null)
                    throw new ArgumentException("must have no mask of its own", "Mask");
            for (int i = 0; i < images.Count; ++i) {
                IplImage* record = images[i].Record;
                before.Add((IntPtr)record->roi);
                before.Add((IntPtr)record->maskROI);
                IplROI* region = (IplROI*)regions + i;
                QuibRect? area = images[i].Region;
                if (area != null)
                    *region = new IplROI { xOffset = area.Value.left, yOffset = area.Value.top,
                        width = images[i].RegionWidth, height = images[i].RegionHeight };
                record->roi = area != null ? region : null;
                record->maskROI = images[i].MaskOrNull != null ? images[i].MaskOrNull.Record : null;
            }
        }

        // The address behind another handle, kept too.
        internal void* Use(SafeHandle handle)
        {
            bool held = false;
            handle.DangerousAddRef(ref held); // throws ObjectDisposedException
            kept.Add(handle);
            return (void*)handle.DangerousGetHandle();
        }

        // Sees to the memory for a result as large as the largest image, and more.
        internal void Room(double more = 0)
        {
            double largest = 0;
            foreach (Image image in images)
                largest = Math.Max(largest, image.SizeBytes);
            Need.Room(3 * largest + more + (1 << 18), "the result");
        }

        private void Unlock()
        {
            for (; locked > 0; --locked)
                Monitor.Exit(images[locked - 1].Gate);
        }

        public void Dispose()
        {
            for (int i = 0; 2 * i + 1 < before.Count; ++i) {
                images[i].Record->roi = (IplROI*)before[2 * i];
                images[i].Record->maskROI = (IplImage*)before[2 * i + 1];
            }
            before.Clear();
            foreach (SafeHandle handle in kept)
                handle.DangerousRelease();
            kept.Clear();
            Unlock();
            Marshal.FreeHGlobal(regions);
            regions = IntPtr.Zero;
        }
    }
}
