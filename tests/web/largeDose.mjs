// Doses in grids so large that they are searched in parts.
import { writeFileSync } from 'node:fs';

/** An ellipsoid of a dose in millions of voxels, nearly all of which hold 0: a MetaImage. */
export function writeLargeDose(path, shift) {
    const size = [180, 160, 150];
    const centre = [60, 90, 70].map((at) => at + shift);
    const head = `ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\nOffset = 0 0 0\nElementSpacing = 1 1 1\nDimSize = ${size.join(' ')}\nElementType = MET_FLOAT\nElementDataFile = LOCAL\n`;
    const doses = new Float32Array(size[0] * size[1] * size[2]);
    let voxel = 0;
    for (let k = 0; k < size[2]; ++k) {
        for (let j = 0; j < size[1]; ++j) {
            for (let i = 0; i < size[0]; ++i) {
                const squared = ((i - centre[0]) / 20) ** 2 + ((j - centre[1]) / 12) ** 2 + ((k - centre[2]) / 9) ** 2;
                doses[voxel++] = 60 * Math.exp(-squared) * (1 + 0.02 * Math.sin(i / 3));
            }
        }
    }
    writeFileSync(path, Buffer.concat([Buffer.from(head), Buffer.from(doses.buffer)]));
    return path;
}
