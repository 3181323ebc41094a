; Makes the gimp_* files in this folder with GIMP 2.10, and for each a .txt with
; the pixels that GIMP has in its layers (its form is told in make_agpsd.js):
;
;     gimp -i -d -f -s -b - < make_gimp.scm
(define (each from to action)
  (when (< from to) (action from) (each (+ from 1) to action)))

; A value from 0 to 255 that differs from pixel to pixel and channel to channel.
(define (value seed x y channel)
  (modulo (+ (* seed 37) (* x 11) (* y 23) (* channel 71) (* x y)) 256))

(define (paint drawable pixel)
  (let ((count (car (gimp-drawable-bpp drawable))))
    (each 0 (car (gimp-drawable-height drawable)) (lambda (y)
      (each 0 (car (gimp-drawable-width drawable)) (lambda (x)
        (let ((bytes (cons-array count 'byte)))
          (each 0 count (lambda (c) (aset bytes c (pixel x y c))))
          (gimp-drawable-set-pixel drawable x y count bytes))))))))

(define (varied seed) (lambda (x y c) (value seed x y c)))

(define (add-layer image type left top width height seed)
  (let ((layer (car (gimp-layer-new image width height type "a" 100 LAYER-MODE-NORMAL))))
    (gimp-image-insert-layer image layer 0 0)
    (gimp-layer-set-offsets layer left top)
    (paint layer (varied seed))
    layer))

(define (add-mask layer seed)
  (let ((mask (car (gimp-layer-create-mask layer ADD-MASK-WHITE))))
    (gimp-layer-add-mask layer mask)
    (paint mask (varied seed))))

(define (hex value)
  (string-append (if (< value 16) "0" "") (number->string value 16)))

(define (words . list)
  (each 0 (length list) (lambda (i)
    (display (list-ref list i))
    (display (if (= i (- (length list) 1)) "\n" " ")))))

; show makes text of a pixel's channel values.
(define (write-rows drawable show)
  (each 0 (car (gimp-drawable-height drawable)) (lambda (y)
    (each 0 (car (gimp-drawable-width drawable)) (lambda (x)
      (display (show (cadr (gimp-drawable-get-pixel drawable x y))))))
    (newline))))

(define (show-channels pixel)
  (let ((text ""))
    (each 0 (vector-length pixel) (lambda (c)
      (set! text (string-append text (hex (vector-ref pixel c))))))
    text))

; Of 16-bit channels GIMP gives both bytes, the low one first.
(define (show-high-bytes pixel)
  (let ((text ""))
    (each 0 (/ (vector-length pixel) 2) (lambda (c)
      (set! text (string-append text (hex (vector-ref pixel (+ (* c 2) 1)))))))
    text))

(define (place word drawable left top last)
  (words word left top (car (gimp-drawable-width drawable)) (car (gimp-drawable-height drawable))
         last))

(define (write-layer layer channels show)
  (let* ((offsets (gimp-drawable-offsets layer)) (left (car offsets)) (top (cadr offsets))
         (mask (car (gimp-layer-get-mask layer))))
    (place "layer" layer left top channels)
    (write-rows layer show)
    (when (and (not (= mask -1)) (= (car (gimp-layer-get-apply-mask layer)) TRUE))
      (place "mask" mask left top 0)
      (write-rows mask show))))

; The layers are given from the lowest up.
(define (save name image layers channels show)
  (with-output-to-file (string-append name ".txt") (lambda ()
    (words "canvas" (car (gimp-image-width image)) (car (gimp-image-height image)))
    (for-each (lambda (layer) (write-layer layer channels show)) layers)))
  (file-psd-save RUN-NONINTERACTIVE image (car layers) (string-append name ".psd") name 0 0))

(define (two-layers name width height base type channels precision show)
  (let* ((image (car (gimp-image-new-with-precision width height base precision)))
         (lower (add-layer image type 3 4 11 8 1))
         (upper (add-layer image type -5 -1 14 30 2)))
    (add-mask lower 3)
    (save name image (list lower upper) channels show)))

(two-layers "gimp_rgb" 20 16 RGB RGBA-IMAGE 4 PRECISION-U8-GAMMA show-channels)
(two-layers "gimp_gray" 20 16 GRAY GRAYA-IMAGE 2 PRECISION-U8-GAMMA show-channels)
(two-layers "gimp_rgb16" 20 16 RGB RGBA-IMAGE 4 PRECISION-U16-GAMMA show-high-bytes)
(two-layers "gimp_gray16" 20 16 GRAY GRAYA-IMAGE 2 PRECISION-U16-GAMMA show-high-bytes)

; Opaque layers, one in a group, with masks, one of them off.
(let* ((image (car (gimp-image-new 15 9 RGB)))
       (lower (add-layer image RGB-IMAGE 0 0 15 9 4))
       (group (car (gimp-layer-group-new image)))
       (upper (car (gimp-layer-new image 7 5 RGBA-IMAGE "b" 100 LAYER-MODE-NORMAL))))
  (add-mask lower 5)
  (gimp-image-insert-layer image group 0 0)
  (gimp-image-insert-layer image upper group 0)
  (gimp-layer-set-offsets upper 2 3)
  (paint upper (varied 6))
  (add-mask upper 7)
  (gimp-layer-set-apply-mask upper FALSE)
  (with-output-to-file "gimp_group.txt" (lambda ()
    (words "canvas" 15 9)
    (write-layer lower 3 show-channels)
    (write-layer upper 4 show-channels)))
  (file-psd-save RUN-NONINTERACTIVE image lower "gimp_group.psd" "gimp_group" 0 0))

(gimp-quit 0)
