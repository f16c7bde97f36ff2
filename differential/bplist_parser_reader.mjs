// Reads binary property lists with the npm package bplist-parser: a line of canonical JSON for each
// file named on standard input. Its numbers are JavaScript's, with no telling integers from reals:
// they are {"number": bits}.

import { readFileSync } from 'node:fs';
import { createInterface } from 'node:readline';
import bplist from 'bplist-parser';

const maxNodes = 8 * 1024 * 1024;
const epoch = Date.UTC(2001, 0, 1);
const isToBeWritten = !process.argv.includes('--read-only');
console.error = () => {};

function bits(number) {
  const buffer = Buffer.alloc(8);
  buffer.writeDoubleBE(number);
  return buffer.toString('hex');
}

function canonical(value, count) {
  if (++count.nodes > maxNodes) {
    throw new Error(`unfolds to more than ${maxNodes} values`);
  }
  if (value === null || value === undefined || typeof value === 'boolean') {
    return value ?? null;
  }
  if (typeof value === 'number') {
    return { number: bits(value) };
  }
  if (typeof value === 'string') {
    return { text: value };
  }
  if (value instanceof bplist.UID) {
    return { uid: String(value.UID) };
  }
  if (value instanceof Date) {
    return { date: bits((value.getTime() - epoch) / 1000) };
  }
  if (Buffer.isBuffer(value)) {
    return { data: value.toString('hex') };
  }
  if (Array.isArray(value)) {
    return { array: value.map((item) => canonical(item, count)) };
  }
  if (typeof value.toJSNumber === 'function') {
    return { integer: value.toString() };
  }
  return { dictionary: Object.keys(value).map((key) => [key, canonical(value[key], count)]) };
}

function read(name) {
  try {
    const [value] = bplist.parseBuffer(readFileSync(name));
    return isToBeWritten ? canonical(value, { nodes: 0 }) : null;
  } catch (error) {
    return { error: String(error.message) };
  }
}

for await (const name of createInterface({ input: process.stdin })) {
  process.stdout.write(JSON.stringify(read(name)) + '\n');
}
