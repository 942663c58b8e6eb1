// Uses the page as its reader would, and leaves what it shows then in an element of its own.
// It runs before the page's own script. A window that nobody looks at may have no frames, so drawing waits for a timer.
window.requestAnimationFrame = draw => setTimeout(draw);
addEventListener('load', async () => {
    const frame = () => new Promise(resolve => setTimeout(resolve, 50)); // after the drawing, which asks for no delay
    const root = document.querySelector('.timeline');
    const lane = [...root.querySelectorAll('.lane')].find(one => one.textContent.includes('PSU1_STATUS'));
    const place = bar => parseFloat(bar.querySelector('rect').getAttribute('x'));
    const press = key => root.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true}));
    const result = {};
    await frame();
    lane.querySelector('button').click();
    result.opened = [...lane.querySelectorAll('.records td.number')].map(cell => cell.textContent);
    const bar = lane.querySelector('.bar');
    bar.firstElementChild.nextElementSibling.dispatchEvent(new PointerEvent('pointerdown', {bubbles: true, button: 0}));
    dispatchEvent(new PointerEvent('pointerup'));
    result.bar = lane.querySelectorAll('.records tbody').length;
    const {life} = [...lane.querySelectorAll('.bar')].find(one => place(one) > 30 && place(one) < 60).dataset;
    const placeNow = () => place(lane.querySelector(`.bar[data-life="${life}"]`));
    result.places = [placeNow()];
    for (const key of ['+', 'ArrowLeft', '0']) {
        press(key);
        await frame();
        result.places.push(placeNow());
    }
    const table = document.querySelector('table.faults'), filter = table.parentElement.previousElementSibling;
    [...table.tHead.querySelectorAll('button')].find(one => one.textContent === 'Sensor').click();
    result.sorted = [...table.tBodies[0].rows].map(row => row.cells[2].textContent);
    filter.querySelector('select').value = '5';
    filter.querySelector('select').dispatchEvent(new Event('input', {bubbles: true}));
    result.critical = [...table.tBodies[0].rows].filter(row => !row.hidden).length;
    const shown = document.createElement('output');
    shown.id = 'result';
    shown.textContent = JSON.stringify(result);
    document.body.append(shown);
});
