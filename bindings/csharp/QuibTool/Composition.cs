// One image over another, and alpha.
using System;

namespace QuibTool
{
    /// <summary>How two images are laid over one another (Porter and Duff, 1984).</summary>
    public enum Composite
    {
        /// <summary>The one over the other.</summary>
        Over,
        /// <summary>The one where the other is.</summary>
        In,
        /// <summary>The one where the other is not.</summary>
        Out,
        /// <summary>The one over the other, where the other is.</summary>
        Atop,
        /// <summary>Each where the other is not.</summary>
        Xor,
        /// <summary>The sum.</summary>
        Plus,
    }

    public sealed unsafe partial class Image
    {
        // --- Over ------------------------------------------------------------------

        private delegate int Composer(IplImage* over, IplImage* under, IplImage** result);

        private Image Compose(Composer function, Image under)
        {
            using (Hold hold = Hold.On(this, under, "under")) {
                NeedLayers(under, "under");
                hold.Room();
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, under.Record, &made), made);
            }
        }

        private void Compose(Composer function, Image under, Image target)
        {
            using (Hold.On(this, under, "under", target, "target")) {
                NeedLayers(under, "under");
                Need.Like(target, "target", under);
                IplImage* there = target.Record;
                QuibException.Check(function.Method.Name, function(Record, under.Record,
                    ReferenceEquals(target, under) ? null : &there));
            }
        }

        private void NeedLayers(Image other, string name)
        {
            Need.Depth(this, "this", 32);
            Need.Depth(other, name, 32);
        }

        /// <summary>A new image with this one laid over another, both of 32 bits, by the alphas of
        /// both. With a result of its own, images of different widths are walked askew.
        /// [QuibComposition3]</summary>
        public Image Over(Image under)
        {
            return Compose(Native.QuibComposition3, under);
        }

        /// <summary>The same into an image of the other's size, which may be the other.
        /// [QuibComposition3]</summary>
        public void Over(Image under, Image target)
        {
            Compose(Native.QuibComposition3, under, target);
        }

        /// <summary>As Over by this image's alpha alone; the alpha of what is written becomes 255.
        /// [QuibComposition_s]</summary>
        public Image SimplyOver(Image under)
        {
            return Compose(Native.QuibComposition_s, under);
        }

        /// <summary>The same into an image of the other's size, which may be the other.
        /// [QuibComposition_s]</summary>
        public void SimplyOver(Image under, Image target)
        {
            Compose(Native.QuibComposition_s, under, target);
        }

        /// <summary>Lays this image on another in place, both of 32 bits, its corner at column x
        /// and row y, and inside an area of the other if there is one. What falls outside is left
        /// out. [QuibComposition4]</summary>
        public void DrawOn(Image under, int x, int y, QuibRect? area = null)
        {
            using (Hold.On(this, under, "under")) {
                NeedLayers(under, "under");
                Need.Range(x, "x", -(1 << 30), 1 << 30);
                Need.Range(y, "y", -(1 << 30), 1 << 30);
                QuibPoint place = new QuibPoint { x = x, y = -y }; // the library's y grows upwards
                QuibRect limit = new QuibRect();
                if (area != null) {
                    QuibRect cut = Need.Clipped(area.Value, "area", under);
                    limit = new QuibRect(cut.left, -cut.top, cut.right, -cut.bottom);
                }
                QuibException.Check("QuibComposition4", Native.QuibComposition4(Record,
                    under.Record, &place, area == null ? null : &limit));
            }
        }

        // --- Alpha composites ------------------------------------------------------

        /// <summary>A clone of the other image with this one laid over it, both of 32 bits, by the
        /// alphas of both. Premultiplied colours carry their alpha already; divided ones of the
        /// result are straight again. Areas limit the pixels of their image, and must meet it.
        /// [QuibComposition1]</summary>
        public Image CompositeWith(Image other, Composite kind, bool premultiplied = false,
            bool divide = false, QuibRect? area = null, QuibRect? otherArea = null,
            QuibRect? resultArea = null)
        {
            using (Hold hold = Hold.On(this, other, "other")) {
                NeedLayers(other, "other");
                int type = Need.Choice(kind, "kind");
                QuibRect a = Cut(area, "area", this), b = Cut(otherArea, "otherArea", other);
                QuibRect c = Cut(resultArea, "resultArea", other);
                hold.Room();
                IplImage* made = null;
                return Made("QuibComposition1", Native.QuibComposition1(Record, other.Record, &made,
                    area == null ? null : &a, otherArea == null ? null : &b,
                    resultArea == null ? null : &c, type, premultiplied ? 1 : 0, divide ? 1 : 0),
                    made);
            }
        }

        /// <summary>The same with one alpha for all of this image and one for all of the other;
        /// the result's fourth channel is the other's. [QuibComposition2]</summary>
        public Image CompositeWithAlphas(Image other, Composite kind, byte alpha, byte otherAlpha,
            QuibRect? area = null, QuibRect? otherArea = null, QuibRect? resultArea = null)
        {
            using (Hold hold = Hold.On(this, other, "other")) {
                NeedLayers(other, "other");
                int type = Need.Choice(kind, "kind");
                QuibRect a = Cut(area, "area", this), b = Cut(otherArea, "otherArea", other);
                QuibRect c = Cut(resultArea, "resultArea", other);
                hold.Room();
                IplImage* made = null;
                return Made("QuibComposition2", Native.QuibComposition2(Record, other.Record, alpha,
                    otherAlpha, &made, area == null ? null : &a, otherArea == null ? null : &b,
                    resultArea == null ? null : &c, type), made);
            }
        }

        private static QuibRect Cut(QuibRect? area, string name, Image image)
        {
            return area == null ? new QuibRect() : Need.Clipped(area.Value, name, image);
        }

        // --- Alpha -----------------------------------------------------------------

        /// <summary>Stores one alpha in all pixels of a 32-bit image. [QuibSetAlphaS]</summary>
        public void SetAlpha(byte alpha)
        {
            using (Hold.On(this)) {
                Need.Depth(this, "this", 32);
                QuibException.Check("QuibSetAlphaS", Native.QuibSetAlphaS(Record, null, alpha));
            }
        }

        /// <summary>Stores one alpha in the first bottom - top rows, and of each in the bytes
        /// left + 3, left + 7 and so on, one for each of the right - left columns: left counts
        /// bytes. The area must meet the image. [QuibSetAlphaS]</summary>
        public void SetAlpha(byte alpha, QuibRect area)
        {
            using (Hold.On(this)) {
                Need.Depth(this, "this", 32);
                QuibRect cut = Need.Clipped(area, "area", this);
                QuibException.Check("QuibSetAlphaS", Native.QuibSetAlphaS(Record, &cut, alpha));
            }
        }

        /// <summary>Stores the bytes of an 8-bit image at least as large, times a percentage of 0
        /// to 100, as the alpha of a 32-bit image. [QuibSetAlpha]</summary>
        public void SetAlpha(Image plane, int percent = 100)
        {
            using (Hold.On(this, plane, "plane")) {
                Need.Depth(this, "this", 32);
                Need.Depth(plane, "plane", 8);
                Need.Range(percent, "percent", 0, 100);
                if (plane.Width < Width || plane.Height < Height)
                    throw new ArgumentException("must be at least " + Width + " x " + Height +
                        ", not " + plane.Width + " x " + plane.Height, "plane");
                QuibException.Check("QuibSetAlpha",
                    Native.QuibSetAlpha(Record, plane.Record, (uint)percent));
            }
        }

        /// <summary>Stores the alpha that is there, times a percentage of 0 to 100. [QuibSetAlpha]
        /// </summary>
        public void ScaleAlpha(int percent)
        {
            using (Hold.On(this)) {
                Need.Depth(this, "this", 32);
                Need.Range(percent, "percent", 0, 100);
                QuibException.Check("QuibSetAlpha",
                    Native.QuibSetAlpha(Record, null, (uint)percent));
            }
        }
    }
}
