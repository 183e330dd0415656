<!DOCTYPE html>
<html>
{{>HEADER}}
<body>
<h1>{{TITLE}}</h1>
<table>
<tr><th>Name</th><th>City</th><th>Amount</th></tr>
{{#ROWS}}
<tr class="{{#ACTIVE}}active{{/ACTIVE}}{{#INACTIVE}}inactive{{/INACTIVE}}"><td>{{NAME}}</td><td>{{CITY}}</td><td>{{AMOUNT}}</td></tr>
{{/ROWS}}
</table>
</body>
</html>