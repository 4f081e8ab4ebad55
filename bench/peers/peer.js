// SPDX-License-Identifier: MIT
// What @node-steam/vdf takes for the file that is the first argument, in milliseconds, as JSON: one
// parse, and for each further argument, a number of games, loading the file, changing as many games'
// launch options, dumping, writing and syncing it. Medians of several.
import { closeSync, fsyncSync, openSync, readFileSync, writeSync } from 'node:fs';
import { parse, stringify } from '@node-steam/vdf';

const [path, ...counts] = process.argv.slice(2);

function medianOf(runs, work) {
    const times = [];
    for (let i = 0; i < runs; ++i) {
        const start = performance.now();
        work();
        times.push(performance.now() - start);
    }
    return times.sort((a, b) => a - b)[(runs - 1) / 2];
}

function edit(games) {
    const data = parse(readFileSync(path, 'utf8'));
    const apps = data.UserLocalConfigStore.Software.Valve.Steam.apps;
    for (const app of Object.values(apps).slice(0, games))
        app.LaunchOptions = '%command%';
    const file = openSync(path + '.peer', 'w');
    writeSync(file, stringify(data));
    fsyncSync(file);
    closeSync(file);
}

const text = readFileSync(path, 'utf8');
const result = { parse: medianOf(9, () => parse(text)), edit: {} };
for (const count of counts)
    result.edit[count] = medianOf(3, () => edit(Number(count)));
console.log(JSON.stringify(result));
