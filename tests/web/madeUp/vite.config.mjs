import { onePage } from '../onePage.mjs';

export default onePage('madeUp', 'page.html');
