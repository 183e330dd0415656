<head>
<meta charset="utf-8">
<title>{{TITLE}}</title>
<style>tr.active td { color: #060; } tr.inactive td { color: #999; }</style>
</head>