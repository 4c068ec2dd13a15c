import { onePage } from '../onePage.mjs';

const marker = '<!--ZARNGI-DATA-->';

/** The package that fills the template in relies on exactly one marker. */
function holdsOneMarker(html) {
    const count = html.split(marker).length - 1;
    if (count !== 1) {
        throw new Error(`template.html holds the data marker ${count} times, not once`);
    }
}

export default onePage('cohort', 'template.html', holdsOneMarker);
