// Writes and reads the data of a report page as web/README.md defines them, independently of
// the page's own code.
import { deflateSync, inflateSync } from 'node:zlib';

const marker = '<!--ZARNGI-DATA-->';

export function encodeVolume(stored) {
    const count = stored.length;
    const bytes = Buffer.alloc(2 * count);
    for (let i = 0; i < count; ++i) {
        bytes[i] = stored[i] & 0xff;
        bytes[count + i] = (stored[i] >> 8) & 0xff;
    }
    return deflateSync(bytes).toString('base64');
}

export function decodeVolume(base64) {
    const bytes = inflateSync(Buffer.from(base64, 'base64'));
    const count = bytes.length / 2;
    const values = new Int16Array(count);
    for (let i = 0; i < count; ++i) {
        values[i] = bytes[i] | (bytes[count + i] << 8);
    }
    return values;
}

/** 32-bit whole numbers. */
export function encodeIntegers(stored) {
    const count = stored.length;
    const bytes = Buffer.alloc(4 * count);
    for (let i = 0; i < count; ++i) {
        for (let byte = 0; byte < 4; ++byte) {
            bytes[byte * count + i] = (stored[i] >> (8 * byte)) & 0xff;
        }
    }
    return deflateSync(bytes).toString('base64');
}

export function decodeIntegers(base64) {
    const bytes = inflateSync(Buffer.from(base64, 'base64'));
    const count = bytes.length / 4;
    const value = (i) => [0, 1, 2, 3].reduce((v, byte) => v | (bytes[byte * count + i] << (8 * byte)), 0);
    return Int32Array.from({ length: count }, (_, i) => value(i));
}

/** Names of the elements with the structures of a report. */
function structureElements(report) {
    const list = report.structures?.list ?? [];
    return list.flatMap((s) => [s.voxelsElement, s.contoursElement]).filter(Boolean);
}

/** The template with a record and its volumes: `stored` maps names to Int16Arrays. */
export function fillTemplate(template, report, stored) {
    const json = JSON.stringify(report).replaceAll('<', '\\u003c');
    const elements = [`<script type="application/json" id="zarngi-data">${json}</script>`];
    for (const { name } of report.volumes) {
        const data = encodeVolume(stored[name]);
        elements.push(`<script type="application/octet-stream" id="volume-${name}">${data}</script>`);
    }
    for (const name of structureElements(report)) {
        const data = encodeIntegers(stored[name]);
        elements.push(`<script type="application/octet-stream" id="${name}">${data}</script>`);
    }
    // A function, because "$&" in a file name must not be taken for a pattern.
    return template.replace(marker, () => elements.join('\n'));
}

/** The record and the stored volumes of a finished page. */
export function readPage(html) {
    const element = (id) => {
        const match = html.match(new RegExp(`<script[^>]*\\bid="${id}"[^>]*>([^<]*)</script>`));
        if (!match) {
            throw new Error(`no element ${id} in the page`);
        }
        return match[1];
    };
    const report = JSON.parse(element('zarngi-data'));
    const stored = {};
    for (const { name } of report.volumes) {
        stored[name] = decodeVolume(element(`volume-${name}`));
    }
    for (const name of structureElements(report)) {
        stored[name] = decodeIntegers(element(name));
    }
    return { report, stored };
}
