import assert from 'node:assert/strict';
import test from 'node:test';
import { listOf, placeOfList } from '../../chrome/forms.js';

const room = { x: 10, y: 100, width: 600, height: 400 };

test('the list lies under its field, and above it where there is no room', () => {
  assert.deepEqual(placeOfList({ x: 20, y: 30, width: 200, height: 20 }, room, 1, 2), { x: 30, y: 150, width: 200, height: 62 });
  assert.deepEqual(placeOfList({ x: 20, y: 30, width: 200, height: 20 }, room, 2, 2), { x: 50, y: 200, width: 400, height: 62 });
  const { y, height } = placeOfList({ x: 20, y: 370, width: 200, height: 20 }, room, 1, 2);
  assert.equal(y + height, room.y + 370);
});

test('the list never leaves the page, wherever the page says that its field is', () => {
  for (const field of [{ x: -500, y: -500, width: 5, height: 5 }, { x: 9000, y: 9000, width: 9000, height: 9000 }]) {
    const { x, y, width, height } = placeOfList(field, room, 3, 8);
    assert.ok(x >= room.x && x + width <= room.x + room.width, `${x} ${width}`);
    assert.ok(y >= room.y && y + height <= room.y + room.height, `${y} ${height}`);
  }
});

test('what was typed cannot become part of the list’s own page', () => {
  const page = listOf(['<img src=x onerror=alert(1)>', '"&']);
  assert.ok(!page.includes('<img') && page.includes('&#60;img'));
  assert.ok(page.includes('<a href="#1">&#34;&#38;</a>'));
});
