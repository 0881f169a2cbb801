// What a cell costs in node's DuckDB client over the rows of bench_cursor's table "mixed": getRows,
// and the raw bindings (chunks and their column vectors).
//
//   mkdir -p build/deps/node && cp benchmarks/node/package.json build/deps/node
//   npm install --prefix build/deps/node --ignore-scripts
//   node benchmarks/node/cursor.mjs [FOLDER]     FOLDER: where that was installed
import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('../../', import.meta.url));
const require = createRequire((process.argv[2] ?? root + 'build/deps/node') + '/');
const { DuckDBInstance } = require('@duckdb/node-api');

const rows = 1000000;
const repetitions = 5;
const some = (salt, cell) => `CASE WHEN hash(i, ${salt}) % 20 = 0 THEN NULL ELSE ${cell} END`;
const table = `CREATE TABLE mixed AS SELECT
  ${some(1, '(hash(i, 11) % 2000000000)::INTEGER')} AS a,
  ${some(2, '(hash(i, 12) >> 2)::BIGINT')} AS b,
  ${some(3, '(hash(i, 13) % 1000000) / 7.0::DOUBLE')} AS c,
  ${some(4, 'substr(md5(i::VARCHAR), 1, 8)')} AS d,
  ${some(5, "md5(i::VARCHAR) || '-of-row-'")} AS e,
  ${some(6, "DATE '1970-01-01' + (hash(i, 16) % 30000)::INTEGER")} AS f,
  ${some(7, '((hash(i, 17) % 100000000)::INTEGER / 100)::DECIMAL(10, 2)')} AS g,
  ${some(8, 'hash(i, 18) % 2 = 0')} AS h
  FROM range(${rows}) r(i)`;

const instance = await DuckDBInstance.create(':memory:');
const connection = await instance.connect();
await connection.run('SET threads = 1');
await connection.run(table);

async function getRows() {
  const result = await connection.run('SELECT * FROM mixed');
  return (await result.getRows()).length;
}

async function chunks() {
  const result = await connection.run('SELECT * FROM mixed');
  let count = 0;
  for (;;) {
    const chunk = await result.fetchChunk();
    if (!chunk || chunk.rowCount === 0) return count;
    for (let column = 0; column < chunk.columnCount; ++column) {
      const vector = chunk.getColumnVector(column);
      for (let row = 0; row < chunk.rowCount; ++row) vector.getItem(row);
    }
    count += chunk.rowCount;
  }
}

// Processor time of the process, the query included, as bench_cursor's "_with_query" lines.
async function best(way) {
  let least = Infinity;
  for (let i = 0; i < repetitions; ++i) {
    const start = process.cpuUsage();
    if ((await way()) !== rows) throw new Error('rows are missing');
    const used = process.cpuUsage(start);
    least = Math.min(least, (used.user + used.system) * 1000);
  }
  return least / (rows * 8);
}

console.log(`node ${process.version}, @duckdb/node-api ${require('@duckdb/node-api/package.json').version}`);
console.log(`getRows: ${(await best(getRows)).toFixed(1)} ns a cell`);
console.log(`chunks and vectors: ${(await best(chunks)).toFixed(1)} ns a cell`);
