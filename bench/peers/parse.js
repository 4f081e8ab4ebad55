// SPDX-License-Identifier: MIT
// Milliseconds of one parse of the file that is the first argument: the median of several.
import { readFileSync } from 'node:fs';
import { parse } from '@node-steam/vdf';

const text = readFileSync(process.argv[2], 'utf8');
const times = [];
for (let i = 0; i < 9; ++i) {
    const start = performance.now();
    parse(text);
    times.push(performance.now() - start);
}
times.sort((a, b) => a - b);
console.log(times[4]);
