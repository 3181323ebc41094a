// Makes the agpsd_* files beside it with the npm package ag-psd 31 (MIT), and
// for each a .txt with the pixels that went in:
//
//     npm install ag-psd && node make_agpsd.js
//
// A .txt file has a line "canvas WIDTH HEIGHT", and for each layer with pixels,
// the lowest first, "layer LEFT TOP WIDTH HEIGHT CHANNELS" with a line of hex
// digits a row, red first and alpha last, and "mask LEFT TOP WIDTH HEIGHT DEFAULT"
// with its rows if a mask counts.
const fs = require('fs');
const path = require('path');
const {writePsdBuffer} = require('ag-psd');

const hex = (bytes) => bytes.map((byte) => (byte & 255).toString(16).padStart(2, '0')).join('');

// A picture of four channels; pixel gives them at x, y.
function picture(width, height, pixel) {
    const data = new Uint8ClampedArray(width * height * 4);
    for (let y = 0; y < height; ++y)
        for (let x = 0; x < width; ++x)
            data.set(pixel(x, y).map((value) => value & 255), (y * width + x) * 4);
    return {width, height, data};
}

const gray = (pixel) => (x, y) => [pixel(x, y), pixel(x, y), pixel(x, y), 255];
const varied = (seed) => (x, y) =>
    [seed * 37 + x * 11 + y * 23, seed + x * y, (x >> 2) * 50 + seed, x + y < 6 ? 0 : 255 - x * 3 - y];
const opaque = (seed) => (x, y) => [...varied(seed)(x, y).slice(0, 3), 255];

const layer = (left, top, imageData, more = {}) => ({name: 'a', left, top, imageData, ...more});
const mask = (left, top, defaultColor, imageData, more = {}) =>
    ({mask: {left, top, defaultColor, imageData, ...more}});

function rows({width, height, data}, channels) {
    let text = '';
    for (let y = 0; y < height; ++y) {
        const row = [];
        for (let x = 0; x < width; ++x)
            row.push(...data.slice((y * width + x) * 4, (y * width + x) * 4 + channels));
        text += hex(row) + '\n';
    }
    return text;
}

function describe(child, channels) {
    if (child.children)
        return child.children.map((inner) => describe(inner, 4)).join('');
    if (!child.imageData)
        return '';
    const {left, top, imageData} = child;
    let text = `layer ${left} ${top} ${imageData.width} ${imageData.height} ${channels}\n` +
        rows(imageData, channels);
    if (child.mask && !child.mask.disabled) {
        const m = child.mask;
        text += `mask ${m.left} ${m.top} ${m.imageData.width} ${m.imageData.height} ` +
            `${m.defaultColor}\n` + rows(m.imageData, 1);
    }
    return text;
}

// firstChannels: of the lowest layer; an opaque one without a mask has no alpha.
function make(name, width, height, children, options = {}, firstChannels = 4) {
    const imageData = picture(width, height, opaque(9));
    const file = path.join(__dirname, name);
    fs.writeFileSync(file + (options.psb ? '.psb' : '.psd'),
        writePsdBuffer({width, height, imageData, children}, options));
    fs.writeFileSync(file + '.txt', `canvas ${width} ${height}\n` +
        children.map((child, i) => describe(child, i == 0 ? firstChannels : 4)).join(''));
}

const twoLayers = () => [
    layer(2, 3, picture(13, 9, varied(1)), mask(4, 1, 0, picture(7, 6, gray((x, y) => 200 + x * 9 - y)))),
    layer(-4, -2, picture(31, 25, varied(2)),
        mask(-2, 5, 255, picture(9, 30, gray((x, y) => x * 20 + y)))),
];
make('agpsd_runs', 21, 17, twoLayers());
make('agpsd_deflated', 21, 17, twoLayers(), {compress: true});
make('agpsd_large_runs', 21, 17, twoLayers(), {psb: true});
make('agpsd_large_deflated', 21, 17, twoLayers(), {psb: true, compress: true});
make('agpsd_background', 40, 6, [
    layer(0, 0, picture(40, 6, opaque(3))),
    layer(5, 1, picture(200, 3, varied(4)), mask(1, 1, 77, picture(3, 2, gray((x) => x)), {disabled: true})),
], {}, 3);
make('agpsd_groups', 12, 10, [
    {name: 'empty'},
    {name: 'group', children: [
        layer(1, 1, picture(5, 5, varied(5))),
        {name: 'inner', children: [layer(20, 20, picture(3, 3, varied(6)))]},
    ]},
]);
make('agpsd_one', 8, 8, [layer(0, 0, picture(4, 4, varied(7)))]);
make('agpsd_three', 8, 8, [7, 8, 9].map((seed) => layer(seed - 7, 0, picture(4, 4, varied(seed)))));
make('agpsd_flat', 8, 8, []);
